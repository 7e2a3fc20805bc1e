# 64-bit, big-endian.

set(CMAKE_SYSTEM_PROCESSOR s390x)
set(tarn_triplet s390x-linux-gnu)
set(tarn_emulator qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
