# Checks the export table of the shared library: the interface is there, the
# internal classes are not. Names are matched mangled, the same on both
# platforms.
if(WINDOWS)
  execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE failed)
  string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table" "" table "${table}")
else()
  execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table
                  RESULT_VARIABLE failed)
endif()
if(failed)
  message(FATAL_ERROR "cannot read the symbols of ${LIBRARY}")
endif()

set(exported
  _ZN4Vesk5Corvo12validateUtf8
  _ZN4Vesk5Corvo11isValidUtf8
  _ZNK4Vesk5Corvo10Utf8String4size
  _ZTIN4Vesk5Corvo23StringEncodingExceptionE
  _ZN4Vesk3Zim9ExceptionC
  _ZN4Vesk5Corvo9MAX_UInt8E
  _ZN4Vesk5Corvo12alignAddress
  _ZN4Vesk3Zim6Logger12getSingleton
  _ZTIN4Vesk3Zim15LogToFilePolicyE
  _ZN4Vesk5Corvo20Win32CriticalSection7acquire
  _ZN4Vesk5Corvo15DeveloperConfig11setLogLevel
  _ZN4Vesk5Corvo11str_to_tstr
  _ZN4Vesk5Corvo9Tokenizer17defaultDelimiters
  _ZN4Vesk5Corvo9Converter7toUtf16
  _ZN4Vesk5Corvo20Win32LocaleConverter10ansiToUtf8
  _ZN4Vesk5Corvo17Win32FileStream644open
  _ZN4Vesk5Corvo17Win32SerialStream4open)
set(internal
  11Utf8Encoder
  11Utf8Decoder
  28codePointPosition2ByteOffset
  28byteOffset2CodePointPosition
  21qualifiedFunctionName
  18LogToConsolePolicy
  _Z25InitializeCriticalSection
  _Z18GetCurrentThreadId
  MultiByteToWideChar
  _Z11CreateFileW
  _Z12GetCommState)

foreach(symbol IN LISTS exported)
  string(FIND "${table}" "${symbol}" at)
  if(at EQUAL -1)
    message(SEND_ERROR "not exported: ${symbol}")
  endif()
endforeach()
foreach(symbol IN LISTS internal)
  string(FIND "${table}" "${symbol}" at)
  if(NOT at EQUAL -1)
    message(SEND_ERROR "exported but internal: ${symbol}")
  endif()
endforeach()
