# qxdb_internal_library(FOLDER [OBJECT] sources...): the static library qxdb_FOLDER of one folder, or its
# object files.
function(qxdb_internal_library name)
  cmake_parse_arguments(L "OBJECT" "" "" ${ARGN})
  if(L_OBJECT)
    add_library(qxdb_${name} OBJECT ${L_UNPARSED_ARGUMENTS})
  else()
    add_library(qxdb_${name} STATIC ${L_UNPARSED_ARGUMENTS})
  endif()
  target_link_libraries(qxdb_${name} PUBLIC qxdb_options)
endfunction()

# qxdb_product_library(NAME Product sources...): the shared library QXDBProduct_x64, whose classes are
# exported through the macro QXDB_PRODUCT_API. The alias QXDB::Product also names the installed package.
function(qxdb_product_library name product)
  add_library(qxdb_${name} SHARED ${ARGN})
  add_library(QXDB::${product} ALIAS qxdb_${name})
  string(TOUPPER "${name}" upper)
  set_target_properties(qxdb_${name} PROPERTIES
    OUTPUT_NAME "QXDB${product}_x64" EXPORT_NAME "${product}"
    SOVERSION ${PROJECT_VERSION_MAJOR} VERSION ${PROJECT_VERSION}
    DEFINE_SYMBOL "QXDB_${upper}_EXPORTS")
  target_link_libraries(qxdb_${name} PRIVATE "$<BUILD_INTERFACE:qxdb_options>")
  target_include_directories(qxdb_${name} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endfunction()

# qxdb_test(NAME sources... LIBS targets...): one GoogleTest program, its cases known to CTest.
function(qxdb_test name)
  cmake_parse_arguments(T "" "TIMEOUT" "LIBS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  add_executable(${name} ${T_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE qxdb_options ${T_LIBS} GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${T_TIMEOUT})
endfunction()

# Runs the tests of a program once more, with TLS beneath them; more arguments are a filter of googletest's.
function(qxdb_test_over_tls name)
  add_test(NAME ${name}_over_tls COMMAND ${name} --gtest_brief=1 ${ARGN})
  set_tests_properties(${name}_over_tls PROPERTIES TIMEOUT 300 ENVIRONMENT QXDB_TEST_TLS=1)
endfunction()
