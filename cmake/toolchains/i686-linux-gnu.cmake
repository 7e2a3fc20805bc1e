# 32-bit x86, little-endian. Debian names the folders of its libraries i386.

set(CMAKE_SYSTEM_PROCESSOR i686)
set(tarn_triplet i686-linux-gnu)
set(tarn_library_folder i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

# An x86_64 machine runs the programs itself, given the loader of their shared libraries. Under QEMU
# 7.2 the children that they fork hang.
set(CMAKE_CROSSCOMPILING_EMULATOR
  /usr/${tarn_triplet}/lib/ld-linux.so.2 --library-path /usr/${tarn_triplet}/lib)
