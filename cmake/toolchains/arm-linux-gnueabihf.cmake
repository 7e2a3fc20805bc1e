# 32-bit Arm, little-endian, hardware floating point.

set(CMAKE_SYSTEM_PROCESSOR arm)
set(tarn_triplet arm-linux-gnueabihf)
set(tarn_emulator qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
