# kw_add_package(<target> <folder> <output>)
#
# Builds an installer package or merge module from its text form (a folder of .idt tables and
# a summary.txt) at build time.
find_program(KW_MSIBUILD msibuild REQUIRED)

function(kw_add_package target folder output)
  file(GLOB tables CONFIGURE_DEPENDS ${folder}/*.idt)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_SOURCE_DIR}/cmake/build-package ${folder} ${output}
    DEPENDS ${tables} ${folder}/summary.txt ${CMAKE_SOURCE_DIR}/cmake/build-package
    COMMENT "Building ${output} from its tables"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${output})
endfunction()
