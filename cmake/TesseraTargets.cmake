# Helpers that keep the per-folder CMakeLists short and uniform.

# tessera_library(<target> SOURCES ... [PUBLIC_DEPS ...] [PRIVATE_DEPS ...])
# A static library whose headers are included from the repository root,
# e.g. #include "platform/geometry/Geometry.h".
function(tessera_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  set(compiled ${ARG_SOURCES})
  list(FILTER compiled INCLUDE REGEX "\\.cpp$")
  if(compiled)
    add_library(${target} STATIC ${ARG_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  else()
    # Header-only so far.
    add_library(${target} INTERFACE ${ARG_SOURCES})
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE ${ARG_PUBLIC_DEPS} ${ARG_PRIVATE_DEPS})
  endif()
endfunction()

# tessera_test(<name> SOURCES ... DEPS ...)
# One GoogleTest executable registered with CTest as a single test.
function(tessera_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE TESSERA_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
endfunction()
