# Debian's cross compiler for TARN_MACHINE, a row of the table beside this file, and user-mode QEMU to
# run the programs. Libraries of the target that do not come with the compiler are in TARN_SYSROOT.

set(TARN_MACHINE "" CACHE STRING "Debian's name of the target")
set(TARN_SYSROOT "" CACHE PATH "Where the target's packages are unpacked")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARN_MACHINE TARN_SYSROOT)

file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/machines row REGEX "^${TARN_MACHINE} ")
string(REPLACE " " ";" row "${row}")
list(LENGTH row fields)
if(NOT fields EQUAL 4)
  message(FATAL_ERROR "TARN_MACHINE is none of those in ${CMAKE_CURRENT_LIST_DIR}/machines")
endif()
list(GET row 1 tarn_triplet)
list(GET row 2 CMAKE_SYSTEM_PROCESSOR)
list(GET row 3 tarn_emulator)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${tarn_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${tarn_triplet}-g++)
# Debian names the folders of its libraries as the compiler, but for those of 32-bit x86.
string(REPLACE i686 i386 CMAKE_LIBRARY_ARCHITECTURE ${tarn_triplet})
if(tarn_emulator STREQUAL "-")
  # Given the loader of their shared libraries. Under QEMU 7.2 the children that they fork hang.
  set(CMAKE_CROSSCOMPILING_EMULATOR
    /usr/${tarn_triplet}/lib/ld-linux.so.2 --library-path /usr/${tarn_triplet}/lib)
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR ${tarn_emulator} -L /usr/${tarn_triplet})
endif()

# Where a machine has no atomic operations of 8 bytes, libcrypto needs a library for them.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "-Wl,--as-needed -latomic -Wl,--no-as-needed")

set(CMAKE_FIND_ROOT_PATH ${TARN_SYSROOT} /usr/${tarn_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Headers that differ between machines are in a folder of their own.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_FLAGS_INIT "-isystem ${TARN_SYSROOT}/usr/include/${CMAKE_LIBRARY_ARCHITECTURE}")
endforeach()
