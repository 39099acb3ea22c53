# kw_add_resource_library(<target> <rc file> [<id header>...])
#
# Builds a library of numbered texts from a resource script. Windows: windres compiles the
# script into a resource-only DLL (<target>.dll, no entry point, loaded only for its
# resources). POSIX: the string table compiler turns the same script into C++ and the
# result is a shared library lib<target>.so with the same texts. The id headers that the script
# includes are named so that a change to them rebuilds the library.
if(NOT WIN32 AND NOT TARGET kwrc)
  add_executable(kwrc ${CMAKE_CURRENT_LIST_DIR}/tools/StringTableCompiler.cpp)
  set_target_properties(kwrc PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tools)
  kw_apply_build_flags(kwrc)
endif()

function(kw_add_resource_library target rcfile)
  if(WIN32)
    add_library(${target} MODULE ${rcfile})
    set_source_files_properties(${rcfile} PROPERTIES OBJECT_DEPENDS "${ARGN}")
    set_target_properties(${target} PROPERTIES PREFIX "" LINKER_LANGUAGE C)
    if(MSVC)
      # Only resources go in, so the linker cannot tell the machine from the objects.
      if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        target_link_options(${target} PRIVATE /NOENTRY /MACHINE:X64)
      else()
        target_link_options(${target} PRIVATE /NOENTRY /MACHINE:X86)
      endif()
    else()
      target_link_options(${target} PRIVATE -nostdlib -Wl,-e,0 -s)
    endif()
  else()
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}_texts.cpp)
    add_custom_command(OUTPUT ${generated}
      COMMAND kwrc ${rcfile} ${generated}
      DEPENDS kwrc ${rcfile} ${ARGN}
      COMMENT "Compiling the string table of ${rcfile}")
    add_library(${target} MODULE ${generated})
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden)
  endif()
endfunction()
