# The expat XML parser as the target kw_expat.
#
# Linux: Debian's libexpat (libexpat1-dev). Windows: built here as a static library from the
# sources of Debian's source package, which cmake/fetch-expat-source puts into a cache under
# build/ at configure time (KW_EXPAT_SOURCE_DIR names another folder holding them).
if(TARGET kw_expat)
  return()
endif()

if(NOT WIN32)
  find_package(EXPAT REQUIRED)
  add_library(kw_expat INTERFACE)
  target_link_libraries(kw_expat INTERFACE EXPAT::EXPAT)
  return()
endif()

set(KW_EXPAT_SOURCE_DIR ${CMAKE_SOURCE_DIR}/build/.sources/expat CACHE PATH "expat sources from Debian's source package")
if(NOT EXISTS ${KW_EXPAT_SOURCE_DIR}/lib/xmlparse.c)
  message(STATUS "Fetching expat's source package into ${KW_EXPAT_SOURCE_DIR}")
  execute_process(COMMAND ${CMAKE_SOURCE_DIR}/cmake/fetch-expat-source ${KW_EXPAT_SOURCE_DIR}
                  RESULT_VARIABLE fetch_result)
  if(NOT fetch_result EQUAL 0)
    message(FATAL_ERROR "expat's sources could not be fetched (cmake/fetch-expat-source ${KW_EXPAT_SOURCE_DIR})")
  endif()
endif()

# What expat's own configuration would find for a Windows target of either width.
file(WRITE ${CMAKE_BINARY_DIR}/expat/expat_config.h [=[
#ifndef EXPAT_CONFIG_H
#define EXPAT_CONFIG_H 1
#define BYTEORDER 1234
#define HAVE_STDINT_H 1
#define HAVE_STDLIB_H 1
#define HAVE_STRING_H 1
#define HAVE_SYS_STAT_H 1
#define HAVE_SYS_TYPES_H 1
#define XML_CONTEXT_BYTES 1024
#define XML_DTD 1
#define XML_NS 1
#define PACKAGE "expat"
#endif
]=])

add_library(kw_expat STATIC ${KW_EXPAT_SOURCE_DIR}/lib/xmlparse.c ${KW_EXPAT_SOURCE_DIR}/lib/xmlrole.c
                            ${KW_EXPAT_SOURCE_DIR}/lib/xmltok.c)
target_include_directories(kw_expat PRIVATE ${CMAKE_BINARY_DIR}/expat)
target_include_directories(kw_expat SYSTEM PUBLIC ${KW_EXPAT_SOURCE_DIR}/lib)
target_compile_definitions(kw_expat PUBLIC XML_STATIC)
