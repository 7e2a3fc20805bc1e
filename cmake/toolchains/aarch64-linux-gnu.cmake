# 64-bit Arm, little-endian.

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(tarn_triplet aarch64-linux-gnu)
set(tarn_emulator qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
