# Checks the export table of the shared library against the interface: every
# exported symbol belongs to Vesk::Corvo or Vesk::Zim, to an entity that a
# public header declares with CORVO_API (or a template of a public header),
# and a sample of the interface is there. Names are read mangled, the same on
# both platforms.
cmake_minimum_required(VERSION 3.25)

if(WINDOWS)
  execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE failed)
  # The name table runs from its title to the next empty line.
  string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table\n" "" table "${table}")
  string(REGEX REPLACE "\n\n.*" "" table "${table}")
  string(REGEX REPLACE "[ \t]*\\[ *[0-9]+\\] " "" table "${table}")
  string(REGEX MATCHALL "[^\n]+" symbols "${table}")
else()
  execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table
                  RESULT_VARIABLE failed)
  string(REGEX MATCHALL "[^ \n]+\n" symbols "${table}")
  list(TRANSFORM symbols STRIP)
endif()
if(failed OR NOT symbols)
  message(FATAL_ERROR "cannot read the symbols of ${LIBRARY}")
endif()

# The interface: names declared CORVO_API in the public headers.
file(GLOB headers ${HEADERS}/*.h)
set(interface)
foreach(header IN LISTS headers)
  file(READ ${header} text)
  string(REGEX MATCHALL "(class CORVO_API |CORVO_DECLARE_EXCEPTION\\(|template <[^>]*>[ \n]*class )[A-Za-z_0-9]+"
         classes "${text}")
  string(REGEX MATCHALL "CORVO_API [^;{(\n]*[ *&](operator[^ (]+|[A-Za-z_0-9]+)[;(]" entities "${text}")
  foreach(found IN LISTS classes entities)
    string(REGEX MATCH "(operator[^ (;]+|[A-Za-z_0-9]+)[;(]?$" found "${found}")
    string(REGEX REPLACE "[;(]$" "" found "${found}")
    list(APPEND interface ${found})
  endforeach()
endforeach()

# Mangled operator names of namespace-level operators.
set(operator_pl "operator+")
set(operator_eq "operator==")
set(operator_ne "operator!=")
set(operator_lt "operator<")
set(operator_le "operator<=")
set(operator_gt "operator>")
set(operator_ge "operator>=")
set(operator_ls "operator<<")
set(operator_rs "operator>>")

set(prefix "^_Z(TI|TS|TV|GVZ|Z|Th[0-9n]+_|Tv[0-9n]+_[0-9n]+_)?N?K?4Vesk(5Corvo|3Zim)")
foreach(symbol IN LISTS symbols)
  if(NOT symbol MATCHES "${prefix}")
    message(SEND_ERROR "exported outside Vesk::Corvo and Vesk::Zim: ${symbol}")
    continue()
  endif()
  string(REGEX REPLACE "${prefix}" "" rest "${symbol}")
  # Helpers of inline code live in the nested namespace detail.
  string(REGEX REPLACE "^6detail" "" rest "${rest}")
  if(rest MATCHES "^([0-9]+)")
    string(LENGTH "${CMAKE_MATCH_1}" digits)
    string(SUBSTRING "${rest}" ${digits} ${CMAKE_MATCH_1} name)
  elseif(rest MATCHES "^([a-z][a-z])")
    set(name "${operator_${CMAKE_MATCH_1}}")
  else()
    set(name "")
  endif()
  if(NOT name OR NOT name IN_LIST interface)
    message(SEND_ERROR "exported but not declared with CORVO_API: ${symbol}")
  endif()
endforeach()

set(exported
  _ZN4Vesk5Corvo12validateUtf8
  _ZNK4Vesk5Corvo10Utf8String4size
  _ZTIN4Vesk5Corvo23StringEncodingExceptionE
  _ZN4Vesk3Zim9ExceptionC
  _ZN4Vesk5Corvo9MAX_UInt8E
  _ZN4Vesk3Zim6Logger12getSingleton
  _ZTIN4Vesk3Zim15LogToFilePolicyE
  _ZN4Vesk5Corvo20Win32CriticalSection7acquire
  _ZN4Vesk5Corvo9Tokenizer17defaultDelimiters
  _ZN4Vesk5Corvo20Win32LocaleConverter10ansiToUtf8
  _ZN4Vesk5Corvo10Win32Mutex7acquire
  _ZN4Vesk5Corvo10Win32Event4wait
  _ZN4Vesk5Corvo14Win32LocalHeap8allocate
  _ZN4Vesk5Corvo20Win32DriveEnumerator9getSDPath
  _ZN4Vesk5Corvo11Win32Window6create
  _ZN4Vesk5Corvo21Win32GraphicalContext5clone
  _ZN4Vesk5Corvo11Win32Socket7receive
  _ZN4Vesk5Corvo6detail18raisePacketFailure
  _ZN4Vesk5Corvo17Win32FileStream644open
  _ZN4Vesk5Corvo17Win32SerialStream4open)
foreach(symbol IN LISTS exported)
  string(FIND "${symbols}" "${symbol}" at)
  if(at EQUAL -1)
    message(SEND_ERROR "not exported: ${symbol}")
  endif()
endforeach()
