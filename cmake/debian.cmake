# Three .deb packages: the libraries, what one needs to build with them, and the command. The
# stand-in platform library lies beside the library that needs it.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE libvexo-variant)
set(CPACK_PACKAGE_CONTACT "The libvexo_variant project <libvexo-variant@packages.invalid>" CACHE
  STRING "The maintainer that the packages name")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
execute_process(
  COMMAND dpkg-architecture --host-type ${CMAKE_LIBRARY_ARCHITECTURE} --query DEB_HOST_ARCH
  OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# Dependencies on the C and C++ libraries are derived from the binaries, those on ours said below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/platform)
# What is built against the library needs at least the version that it was built against.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(debian ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)  # or SOURCE_DATE_EPOCH
file(CONFIGURE OUTPUT ${debian}/changelog @ONLY CONTENT
"libvexo-variant (@PROJECT_VERSION@) unstable; urgency=medium

  * CHANGELOG.md, in the package of the library, tells what changed.

 -- @CPACK_PACKAGE_CONTACT@  @now@
")
execute_process(COMMAND gzip -9nfk ${debian}/changelog COMMAND_ERROR_IS_FATAL ANY)
file(CONFIGURE OUTPUT ${debian}/copyright @ONLY CONTENT
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: libvexo_variant

Files: *
Copyright: 2026 The libvexo_variant project
License: none-stated
 The project has not stated a licence. Ask it before you pass the packages on.
")
# Beside the call of ldconfig that CPack adds by itself: Debian's tools look for the trigger.
file(WRITE ${debian}/triggers "activate-noawait ldconfig\n")

# `key` is the component in capitals.
macro(add_debian_package component key name section summary contents)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${key}_DESCRIPTION
"${summary}
libvexo_variant has one value class, Variant, and turns trees of such values
into JSON, KVP lines and the compact binary format BIN and back, reads TOML
and writes AMF. It is made for long-lived processes and hostile input.
.
${contents}")
  install(FILES ${debian}/changelog.gz ${debian}/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endmacro()

set(runtime libvexo-variant${PROJECT_VERSION_MAJOR})
set(libraries "This package has the library.")
if(VEXO_PLATFORM STREQUAL stand-in)
  set(libraries "This package has the library and the platform library that it calls.")
endif()
add_debian_package(vexo_runtime VEXO_RUNTIME ${runtime} libs
  "dynamically typed C++ value with JSON, BIN, KVP, TOML and AMF"
  "${libraries}")
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${runtime} COMPONENT vexo_runtime)
set(CPACK_DEBIAN_VEXO_RUNTIME_PACKAGE_CONTROL_EXTRA ${debian}/triggers)

add_debian_package(vexo_development VEXO_DEVELOPMENT libvexo-variant-dev libdevel
  "dynamically typed C++ value (development files)"
  "This package has the headers, and the files for linker, CMake and pkg-config.")
set(CPACK_DEBIAN_VEXO_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")

if(VEXO_BUILD_TOOL)
  add_debian_package(vexo_tool VEXO_TOOL vexo-variant utils
    "converter and viewer for JSON, BIN, KVP, TOML and AMF"
    "This package has the command vexo-variant.")
  set(CPACK_DEBIAN_VEXO_TOOL_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
endif()

include(CPack)
