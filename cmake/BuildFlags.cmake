# Compiler and linker settings shared by every target of the project. GCC (the Linux build and
# the mingw-w64 cross builds) and Clang take the same flags; the Microsoft compiler takes its
# own equivalents, so that the project stays buildable with it.

if(MSVC)
  # The program needs no DLL of its own but the resource library (GCC: -static below).
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  # GoogleTest's project asks for an older CMake; it must follow the same runtime all the same.
  set(CMAKE_POLICY_DEFAULT_CMP0091 NEW)
  # /EHa (below) replaces the default /EHsc; two models on one command line draw a warning.
  string(REPLACE "/EHsc" "" CMAKE_CXX_FLAGS "${CMAKE_CXX_FLAGS}")
  # Throw sites record their source file relative to the source tree.
  file(TO_NATIVE_PATH "${CMAKE_SOURCE_DIR}/" kw_native_source_dir)
  add_compile_options("/d1trimfile:${kw_native_source_dir}")
else()
  # Throw sites record their source file relative to the source tree.
  add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
endif()

function(kw_apply_build_flags target)
  if(MSVC)
    # Source files and wide literals are UTF-8.
    target_compile_options(${target} PRIVATE /W4 /WX /permissive- /utf-8 /Zc:__cplusplus)
    # A fault becomes an exception thrown at the faulting instruction: asynchronous exception
    # handling lets an exception leave any instruction, as -fnon-call-exceptions does for GCC.
    target_compile_options(${target} PRIVATE /EHa)
  else()
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
      -Wimplicit-fallthrough -Wmissing-declarations -Werror)
    # A fault becomes an exception thrown at the faulting instruction, so every instruction that
    # can fault must be one that an exception may leave.
    target_compile_options(${target} PRIVATE -fnon-call-exceptions)
  endif()
  if(WIN32)
    target_compile_definitions(${target} PRIVATE
      UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601)
  endif()
  if(WIN32 AND NOT MSVC)
    # Debug help names frames and lines only for DWARF 4 (the Microsoft compiler's PDB files
    # it reads natively).
    target_compile_options(${target} PRIVATE -gdwarf-4)
    # The program needs no DLL of its own but the resource library.
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++)
  endif()
endfunction()

set(KW_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(KW_SANITIZE AND MSVC)
  # The Microsoft compiler has the address sanitizer only.
  if(NOT KW_SANITIZE STREQUAL "address")
    message(FATAL_ERROR "KW_SANITIZE=${KW_SANITIZE}: the Microsoft compiler offers only \"address\"")
  endif()
  add_compile_options(/fsanitize=address)
elseif(KW_SANITIZE)
  add_compile_options(-fsanitize=${KW_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KW_SANITIZE})
endif()
