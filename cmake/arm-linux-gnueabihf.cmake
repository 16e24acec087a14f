# 32-bit ARM hard-float Linux, with tests run by qemu-user.
set(VEXO_TRIPLET arm-linux-gnueabihf)
set(VEXO_PROCESSOR arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
