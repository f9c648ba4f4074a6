# cpack: from a Linux build, a Debian pair (libcorvo0, the shared library;
# libcorvo-dev, the headers, the CMake package and corvo.pc); from a Windows
# build, one zip of everything, the MinGW runtime DLLs included. Both are
# made from the install step, stripped of debug information, into
# <build>/packages.
set(CPACK_PACKAGE_NAME corvo)
set(CPACK_PACKAGE_VENDOR "Vesk")
set(CPACK_PACKAGE_CONTACT "Corvo developers <corvo@vesk.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Runtime Development)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME corvo-${PROJECT_VERSION}-win64)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://vesk.invalid/corvo")
  set(corvo_runtime libcorvo${PROJECT_VERSION_MAJOR}) # after the SONAME, libcorvo.so.N
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${corvo_runtime})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcorvo-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
      "${corvo_runtime} (= ${PROJECT_VERSION}), libutfcpp-dev")
  # The library's own dependencies come from dpkg-shlibdeps (dpkg-dev) when
  # it is there; without it, the packages of the libraries it links.
  find_program(CORVO_DPKG_SHLIBDEPS dpkg-shlibdeps)
  if(CORVO_DPKG_SHLIBDEPS)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  else()
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6, libgcc-s1, libgl1, libstdc++6, libx11-6")
  endif()
endif()

include(CPack)
