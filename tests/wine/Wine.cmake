# Tests of the Windows build run under wine, headless and non-interactive as CI runs them,
# in one wine prefix per build tree that a fixture creates before them and shuts down after.
find_program(KW_WINE wine REQUIRED)
set(KW_WINE_PREFIX ${CMAKE_BINARY_DIR}/wineprefix)
set(KW_WINE_RUN ${CMAKE_CURRENT_LIST_DIR}/run ${KW_WINE_PREFIX})

add_test(NAME wine.prefix COMMAND ${CMAKE_CURRENT_LIST_DIR}/prefix ${KW_WINE_PREFIX})
set_tests_properties(wine.prefix PROPERTIES FIXTURES_SETUP wine LABELS wine TIMEOUT 300)
add_test(NAME wine.shutdown COMMAND ${CMAKE_CURRENT_LIST_DIR}/run ${KW_WINE_PREFIX} --shutdown)
set_tests_properties(wine.shutdown PROPERTIES FIXTURES_CLEANUP wine LABELS wine TIMEOUT 60)
