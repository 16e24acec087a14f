# A big-endian target: 64-bit s390x Linux, with tests run by qemu-user.
set(VEXO_TRIPLET s390x-linux-gnu)
set(VEXO_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
