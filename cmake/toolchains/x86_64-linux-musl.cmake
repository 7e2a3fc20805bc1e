# musl and Debian's compiler, without the C++ library, which is not built for musl. The kernel's
# headers, which musl does not have, are looked for last.

set(TARN_SYSROOT "" CACHE PATH "Where liblzma is installed")

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER musl-gcc)
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_COMPILER_AR gcc-ar)
  set(CMAKE_${language}_COMPILER_RANLIB gcc-ranlib)
  set(CMAKE_${language}_FLAGS_INIT "-idirafter /usr/include/x86_64-linux-gnu -idirafter /usr/include")
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -nostdinc++")
set(CMAKE_FIND_ROOT_PATH ${TARN_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
