# Debian's cross compiler for ${tarn_triplet}, and user-mode QEMU to run the programs. Libraries of
# the target that do not come with the compiler are in TARN_SYSROOT.

set(TARN_SYSROOT "" CACHE PATH "Where the target's packages are unpacked")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARN_SYSROOT)

if(NOT tarn_library_folder)
  set(tarn_library_folder ${tarn_triplet})
endif()
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${tarn_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${tarn_triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${tarn_library_folder})
set(CMAKE_CROSSCOMPILING_EMULATOR ${tarn_emulator} -L /usr/${tarn_triplet})

set(CMAKE_FIND_ROOT_PATH ${TARN_SYSROOT} /usr/${tarn_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Headers that differ between machines are in a folder of their own.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_FLAGS_INIT "-isystem ${TARN_SYSROOT}/usr/include/${tarn_library_folder}")
endforeach()
