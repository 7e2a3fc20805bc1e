# Compile and link settings shared by every target, and the two ways to declare one.

include(CheckLinkerFlag)
include(CheckPIESupported)
check_pie_supported()

add_library(tarn-settings INTERFACE)
target_compile_options(tarn-settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-align
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<BOOL:${TARN_WERROR}>:-Werror>
  # What is built does not tell where.
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>
  $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>)

if(TARN_SANITIZE)
  target_compile_options(tarn-settings INTERFACE
    -fsanitize=${TARN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tarn-settings INTERFACE -fsanitize=${TARN_SANITIZE})
elseif(TARN_HARDENING)
  target_compile_options(tarn-settings INTERFACE
    -fstack-protector-strong -fstack-clash-protection -Wformat -Werror=format-security
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
  target_link_options(tarn-settings INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()

# For code without exceptions and RTTI, which needs no tables to unwind the stack.
set(TARN_PLAIN_CODE -fno-exceptions -fno-rtti -fno-asynchronous-unwind-tables -fno-unwind-tables)

# tarn_add_library(NAME SOURCES file... [HEADERS file...]
#   [LINKS target...] [PRIVATE_LINKS target...])
#
# A static product library tarn-NAME, linked as tarn::NAME, whose HEADERS are installed. Its code
# needs neither exceptions nor RTTI nor the C++ library, so a program built on it links libc only.
function(tarn_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(tarn-${name} STATIC ${ARG_SOURCES})
  add_library(tarn::${name} ALIAS tarn-${name})
  if(CMAKE_INTERPROCEDURAL_OPTIMIZATION AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Machine code, too, for the archives that are installed, and no random names.
    target_compile_options(tarn-${name} PRIVATE -ffat-lto-objects)
    foreach(source IN LISTS ARG_SOURCES)
      set_property(SOURCE ${source} PROPERTY COMPILE_OPTIONS -frandom-seed=${name}/${source})
    endforeach()
  endif()
  set_target_properties(tarn-${name} PROPERTIES EXPORT_NAME ${name})
  target_compile_options(tarn-${name} PRIVATE ${TARN_PLAIN_CODE}
    -ffunction-sections -fdata-sections) # the linker drops what a program does not use
  target_sources(tarn-${name} PUBLIC
    FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
  target_link_libraries(tarn-${name}
    PUBLIC ${ARG_LINKS}
    PRIVATE $<BUILD_INTERFACE:tarn-settings> ${ARG_PRIVATE_LINKS})
endfunction()

# tarn_add_program(NAME SOURCES file... LINKS target...)
function(tarn_add_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE tarn-settings ${ARG_LINKS})
endfunction()
