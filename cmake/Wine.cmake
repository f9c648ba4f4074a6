# Windows executables built here run under Wine, in a prefix private to this
# build tree, with the MinGW runtime DLLs on Wine's search path.
find_program(CORVO_WINE64 wine64 PATHS /usr/lib/wine NO_DEFAULT_PATH REQUIRED)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
                OUTPUT_VARIABLE _corvo_libstdcxx OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libwinpthread-1.dll
                OUTPUT_VARIABLE _corvo_winpthread OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(_corvo_libstdcxx_dir ${_corvo_libstdcxx} DIRECTORY)
get_filename_component(_corvo_winpthread_dir ${_corvo_winpthread} DIRECTORY)
set(CMAKE_CROSSCOMPILING_EMULATOR
    ${PROJECT_SOURCE_DIR}/cmake/wine-run ${CORVO_WINE64} ${CMAKE_BINARY_DIR}/wineprefix
    "${_corvo_libstdcxx_dir}\;${_corvo_winpthread_dir}")
