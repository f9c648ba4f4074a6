# cmake --install: headers, the shared library, a CMake package that gives
# Corvo::corvo, and corvo.pc.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/corvo
        FILES_MATCHING PATTERN "*.h")
install(TARGETS corvo EXPORT CorvoTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(CORVO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Corvo)
install(EXPORT CorvoTargets NAMESPACE Corvo:: DESTINATION ${CORVO_CMAKE_DIR})
configure_package_config_file(cmake/CorvoConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfig.cmake INSTALL_DESTINATION ${CORVO_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/CorvoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/CorvoConfigVersion.cmake
        DESTINATION ${CORVO_CMAKE_DIR})

# The prefix is found from where corvo.pc lies, so that the package works
# wherever --prefix put it.
file(RELATIVE_PATH CORVO_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
get_target_property(CORVO_UTF8CPP_INCLUDE utf8cpp INTERFACE_INCLUDE_DIRECTORIES)
configure_file(cmake/corvo.pc.in ${CMAKE_CURRENT_BINARY_DIR}/corvo.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/corvo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
