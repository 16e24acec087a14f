# pkg-config files. Their prefix is where they are, so that an installed tree can be moved; the
# language level is for compilers whose default is older.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
set(pkgconfig_cflags -std=c++17)
if(VEXO_TIME64)
  string(APPEND pkgconfig_cflags " -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
endif()

# `requires` names what a program links as well.
function(install_pkgconfig name description requires)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${pkgconfig_dir} COMPONENT vexo_development)
endfunction()

# Programs use the stand-in's classes themselves: an IOBuffer to write to, for one.
set(pkgconfig_requires "")
if(VEXO_PLATFORM STREQUAL stand-in)
  install_pkgconfig(vexo_platform "What libvexo_variant needs of its host: a stand-in" "")
  set(pkgconfig_requires "vexo_platform = ${PROJECT_VERSION}")
endif()
install_pkgconfig(vexo_variant "${PROJECT_DESCRIPTION}" "${pkgconfig_requires}")
