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
