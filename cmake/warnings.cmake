# The warnings of this project, as a target that its own code links; never installed.
add_library(vexo_warnings INTERFACE)
target_compile_options(vexo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
  # A 64-bit integer field is 8 bytes on every target we build for; GCC remarks on the ABI of 2014.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi>)
if(VEXO_WARNINGS_AS_ERRORS)
  target_compile_options(vexo_warnings INTERFACE -Werror)
endif()
