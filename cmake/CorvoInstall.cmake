# cmake --install: headers, the shared library, a CMake package that gives
# Corvo::corvo, and corvo.pc; for Windows also the MinGW runtime DLLs that
# corvo.dll needs. The Runtime component is what an application ships, the
# Development component what builds one.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/corvo COMPONENT Development
        FILES_MATCHING PATTERN "*.h")
install(TARGETS corvo EXPORT CorvoTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
                NAMELINK_COMPONENT Development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)

# A program built with MinGW-w64 needs its compiler's runtime beside it:
# without these a program that uses corvo.dll does not start.
if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}")
      message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know where ${dll} is")
    endif()
    install(FILES ${path} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
    # The compiler's copies carry debug information (libstdc++-6.dll 23 MiB
    # of it): --strip, and so the packages, drop it as for corvo.dll.
    install(CODE "if(CMAKE_INSTALL_DO_STRIP)
      execute_process(COMMAND \"${CMAKE_STRIP}\" \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${dll}\")
    endif()" COMPONENT Runtime)
  endforeach()
endif()

set(CORVO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Corvo)
install(EXPORT CorvoTargets NAMESPACE Corvo:: DESTINATION ${CORVO_CMAKE_DIR} COMPONENT Development)
configure_package_config_file(cmake/CorvoConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfig.cmake INSTALL_DESTINATION ${CORVO_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/CorvoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfigVersion.cmake
        DESTINATION ${CORVO_CMAKE_DIR} COMPONENT Development)

# The prefix is found from where corvo.pc lies, so that the package works
# wherever --prefix put it.
file(RELATIVE_PATH CORVO_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
get_target_property(CORVO_UTF8CPP_INCLUDE utf8cpp INTERFACE_INCLUDE_DIRECTORIES)
configure_file(cmake/corvo.pc.in ${CMAKE_CURRENT_BINARY_DIR}/corvo.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/corvo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT Development)
