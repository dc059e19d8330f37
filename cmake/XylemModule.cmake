# Every module folder is one static library `xylem_<name>` (alias `xylem::<name>`) made of
# the .cpp files beside its headers. Include paths are rooted at src/. DEPS are the modules and
# libraries its headers and sources include; PRIVATE_DEPS those only its sources include.
# scripts/check_includes.py holds every #include to these declarations.
function(xylem_module name)
  cmake_parse_arguments(ARG "" "" "DEPS;PRIVATE_DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(xylem_${name} STATIC ${sources})
    target_include_directories(xylem_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(xylem_${name} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS} xylem_warnings)
  else()
    add_library(xylem_${name} INTERFACE)
    target_include_directories(xylem_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(xylem_${name} INTERFACE ${ARG_DEPS})
  endif()
  add_library(xylem::${name} ALIAS xylem_${name})
endfunction()

# A front end: one executable made of the .cpp files of its folder, linked to DEPS.
function(xylem_program name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} xylem_warnings)
endfunction()

# One GoogleTest executable per tests/ folder, `test_<name>`, every test registered with ctest.
function(xylem_test_suite name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE ${ARG_DEPS} xylem_warnings GTest::gtest
                                              GTest::gtest_main GTest::gmock)
  target_compile_definitions(test_${name} PRIVATE XYLEM_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}/data")
  gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
endfunction()

# Fuzz targets: every fuzz/<module>/<name>.cpp defines LLVMFuzzerTestOneInput and becomes
# `fuzz_<name>`. With XYLEM_BUILD_FUZZERS it links libFuzzer; otherwise it links the standalone
# driver, which replays corpus/<name>/ and then feeds mutated inputs for XYLEM_FUZZ_SECONDS, so
# every target also runs as a ctest test under the sanitizers.
function(xylem_fuzz_folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  foreach(source ${sources})
    get_filename_component(name ${source} NAME_WE)
    add_executable(fuzz_${name} ${source})
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_DEPS})
    if(XYLEM_BUILD_FUZZERS)
      target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    else()
      target_link_libraries(fuzz_${name} PRIVATE xylem_fuzz_driver)
      set(corpus ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
      add_test(NAME fuzz_${name}
               COMMAND fuzz_${name} -max_total_time=${XYLEM_FUZZ_SECONDS} ${corpus})
      set_tests_properties(fuzz_${name} PROPERTIES TIMEOUT 900 LABELS fuzz)
    endif()
  endforeach()
endfunction()

# Benchmarks: every bench/<module>/<name>.cpp becomes the Google Benchmark program `bench_<name>`.
function(xylem_bench_folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  foreach(source ${sources})
    get_filename_component(name ${source} NAME_WE)
    add_executable(bench_${name} ${source})
    target_link_libraries(bench_${name} PRIVATE ${ARG_DEPS} xylem_bench_support benchmark::benchmark)
  endforeach()
endfunction()
