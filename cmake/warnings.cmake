# The warnings of this project, as a target that its own code links; never installed.
add_library(vexo_warnings INTERFACE)
target_compile_options(vexo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
  # GCC remarks on an ABI change of 2014, and GCC 12 sees overlaps in `"text" + std::string` at -O3.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi;-Wno-restrict>)
if(VEXO_WARNINGS_AS_ERRORS)
  target_compile_options(vexo_warnings INTERFACE -Werror)
endif()
