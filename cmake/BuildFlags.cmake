# Compiler and linker settings shared by every target of the project.

# Throw sites record their source file relative to the source tree.
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

function(kw_apply_build_flags target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wimplicit-fallthrough -Wmissing-declarations -Werror)
  # A fault becomes an exception thrown at the faulting instruction, so every instruction that
  # can fault must be one that an exception may leave.
  target_compile_options(${target} PRIVATE -fnon-call-exceptions)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE
      UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601)
    # Debug help names frames and lines only for DWARF 4.
    target_compile_options(${target} PRIVATE -gdwarf-4)
    # The program needs no DLL of its own but the resource library.
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++)
  endif()
endfunction()

set(KW_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(KW_SANITIZE)
  add_compile_options(-fsanitize=${KW_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KW_SANITIZE})
endif()
