# kw_add_package(<target> <folder> <output>)
#
# Builds an installer package or merge module from its text form (a folder of .idt tables,
# with a summary.txt or a _SummaryInformation.idt) at build time.
find_program(KW_MSIBUILD msibuild REQUIRED)

function(kw_add_package target folder output)
  file(GLOB inputs CONFIGURE_DEPENDS ${folder}/*.idt ${folder}/summary.txt ${folder}/*/*)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_SOURCE_DIR}/cmake/build-package ${folder} ${output}
    DEPENDS ${inputs} ${CMAKE_SOURCE_DIR}/cmake/build-package
    COMMENT "Building ${output} from its tables"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${output})
endfunction()

# Stack traces on POSIX name their frames with GCC's libbacktrace, which the compiler's own
# development package installs beside its runtime (Debian: libgcc-<version>-dev, which g++
# brings): it reads the symbol tables and the debug information, including inlined functions,
# without allocating from the heap. Its header is in the compiler's own include folder.
if(NOT WIN32)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
    OUTPUT_VARIABLE KW_LIBBACKTRACE OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${KW_LIBBACKTRACE}" OR NOT EXISTS "${KW_LIBBACKTRACE}")
    message(FATAL_ERROR "libbacktrace.a of the compiler ${CMAKE_CXX_COMPILER} was not found")
  endif()
endif()
