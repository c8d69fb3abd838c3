# SPDX-License-Identifier: MIT
# kes_library(name FOLDER dir [DEPENDS targets...] [EXCLUDE regex]): one static library of every .cpp in a folder.
function(kes_library name)
  cmake_parse_arguments(ARG "" "FOLDER;EXCLUDE" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${ARG_FOLDER}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if(ARG_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "${ARG_EXCLUDE}")
  endif()
  if(NOT sources)
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
    return()
  endif()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
endfunction()

# kes_test(folder DEPENDS targets...): one test program of every .cpp in tests/<folder>.
function(kes_test folder)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  string(REPLACE "/" "_" name ${folder})
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(test_${name} PRIVATE KES_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  target_link_libraries(test_${name} PRIVATE ${ARG_DEPENDS} GTest::gtest_main)
  # One CTest entry per program: the tests of one folder share process-wide tables.
  add_test(NAME ${name} COMMAND test_${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES TIMEOUT 900)
endfunction()

# kes_bench(name sources... DEPENDS targets...)
function(kes_bench folder)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(bench_${folder} ${sources})
  target_compile_definitions(bench_${folder} PRIVATE KES_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  # The second library gives a main function to programs that have none of their own.
  target_link_libraries(bench_${folder} PRIVATE ${ARG_DEPENDS} benchmark::benchmark benchmark::benchmark_main)
endfunction()

# kes_page(target folder page namespace name): a page of a browser in a program, from files in folder/page that a
# browser's tools can read.
function(kes_page target folder page namespace name)
  file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/page/*)
  set(text ${CMAKE_CURRENT_BINARY_DIR}/${page}_page_text.cpp)
  add_custom_command(
    OUTPUT ${text}
    COMMAND ${CMAKE_COMMAND} -D PAGE=${PROJECT_SOURCE_DIR}/${folder}/page/${page}.html -D HEADER=${folder}/${page}_page_text.h
            -D NAMESPACE=${namespace} -D NAME=${name} -D OUT=${text} -P ${PROJECT_SOURCE_DIR}/cmake/embed_page.cmake
    DEPENDS ${files} ${PROJECT_SOURCE_DIR}/cmake/embed_page.cmake
    VERBATIM)
  target_sources(${target} PRIVATE ${text})
endfunction()
