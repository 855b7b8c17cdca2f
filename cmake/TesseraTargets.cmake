# Helpers that keep the per-folder CMakeLists short and uniform.
include(GNUInstallDirs)

# Where the build and the installation put things. Plug-ins are found at run
# time in a folder next to the program (build tree: beside tessera-sql) or
# below the library folder (installed tree), see PluginManager.
set(TESSERA_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/tessera)
set(TESSERA_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/tessera/plugins)
set(TESSERA_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tessera)
set(TESSERA_BUILD_PLUGINDIR ${PROJECT_BINARY_DIR}/tools/tessera-sql/plugins)
# From the program's folder to the installed plug-in folder, and from the
# plug-in folder back to the libraries (run paths).
file(RELATIVE_PATH TESSERA_PLUGINDIR_FROM_BINDIR
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${TESSERA_INSTALL_PLUGINDIR})
file(RELATIVE_PATH TESSERA_LIBDIR_FROM_PLUGINDIR
  ${CMAKE_INSTALL_PREFIX}/${TESSERA_INSTALL_PLUGINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH TESSERA_LIBDIR_FROM_BINDIR ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# Headers of a shared library go to <include>/tessera/<folder>, the way they
# are included (#include "platform/core/Core.h"). Private parts stay out.
function(tessera_install_headers)
  foreach(header ${ARGN})
    if(header MATCHES "\\.h$" AND NOT header MATCHES "(Private|Internal)\\.h$")
      get_filename_component(absolute ${header} ABSOLUTE)
      file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${absolute})
      get_filename_component(dir ${rel} DIRECTORY)
      install(FILES ${absolute} DESTINATION ${TESSERA_INSTALL_INCLUDEDIR}/${dir} COMPONENT sdk)
    endif()
  endforeach()
endfunction()

# tessera_library(<target> [SHARED EXPORT <NAME>] SOURCES ... [PUBLIC_DEPS ...] [PRIVATE_DEPS ...])
# A library whose headers are included from the repository root,
# e.g. #include "platform/geometry/Geometry.h".
# Static by default. SHARED makes a shared library of the platform that host
# and plug-ins share: symbols are hidden unless marked with the library's
# export macro, which expands to an export while TESSERA_<NAME>_LIBRARY is
# defined (only when the library itself is compiled) and to an import
# elsewhere. Shared libraries and their headers are installed with the SDK.
function(tessera_library target)
  cmake_parse_arguments(ARG "SHARED" "EXPORT" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  set(compiled ${ARG_SOURCES})
  list(FILTER compiled INCLUDE REGEX "\\.cpp$")
  if(ARG_SHARED)
    add_library(${target} SHARED ${ARG_SOURCES})
    add_library(Tessera::${target} ALIAS ${target})
    target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${TESSERA_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
    tessera_shared_properties(${target} ${ARG_EXPORT})
    tessera_install_headers(${ARG_SOURCES})
  elseif(compiled)
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

# Export symbol, version, run path and installation of a shared library.
function(tessera_shared_properties target export_name)
  set_target_properties(${target} PROPERTIES
    DEFINE_SYMBOL TESSERA_${export_name}_LIBRARY
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
    INSTALL_RPATH "$ORIGIN")
  string(REGEX REPLACE "^tessera_" "" plain ${target})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME tessera_${plain} EXPORT_NAME ${plain})
  install(TARGETS ${target} EXPORT TesseraTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk)
endfunction()

# tessera_plugin(<target> SOURCES ... [DEPS ...])
# A Qt plug-in (one class with Q_PLUGIN_METADATA and the tessera::plugin::Plugin
# interface) put in the plug-in folder of the build and of the installation.
function(tessera_plugin target)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${target} MODULE ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE ${ARG_DEPS})
  set_target_properties(${target} PROPERTIES
    PREFIX ""
    LIBRARY_OUTPUT_DIRECTORY ${TESSERA_BUILD_PLUGINDIR}
    INSTALL_RPATH "$ORIGIN/${TESSERA_LIBDIR_FROM_PLUGINDIR}")
  install(TARGETS ${target} LIBRARY DESTINATION ${TESSERA_INSTALL_PLUGINDIR} COMPONENT runtime)
endfunction()

# tessera_test(<name> SOURCES ... DEPS ...)
# One GoogleTest executable registered with CTest as a single test.
function(tessera_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE TESSERA_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  # Under the thread sanitizer, Qt's locks are made visible to it (see the file).
  if(TESSERA_SANITIZE MATCHES "thread")
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/tsan/QtLockAnnotations.cpp)
    target_link_libraries(${name} PRIVATE Qt5::Core ${CMAKE_DL_LIBS})
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
endfunction()

# tessera_engine_library(<target> PUBLIC_DEPS ...)
# Call last in engine/CMakeLists.txt. Every static library defined in that
# folder is an internal part of the engine: its sources see
# TESSERA_ENGINE_LIBRARY, code linking it directly sees TESSERA_ENGINE_STATIC,
# and all of them go whole into the shared library <target>, so a part added
# later needs no edit here. `tessera_engine_internal` links the parts
# themselves, for unit tests that reach behind the exported interface.
function(tessera_engine_library target)
  cmake_parse_arguments(ARG "" "" "PUBLIC_DEPS" ${ARGN})
  get_directory_property(defined BUILDSYSTEM_TARGETS)
  set(parts)
  foreach(part ${defined})
    get_target_property(type ${part} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
      target_compile_definitions(${part} PRIVATE TESSERA_ENGINE_LIBRARY INTERFACE TESSERA_ENGINE_STATIC)
      list(APPEND parts ${part})
    endif()
  endforeach()
  add_library(tessera_engine_internal INTERFACE)
  target_link_libraries(tessera_engine_internal INTERFACE ${parts})

  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*/*.h)
  add_library(${target} SHARED)
  add_library(Tessera::${target} ALIAS ${target})
  # The parts' objects, every one of them (an archive would only give the
  # members something refers to); linking the parts too brings their
  # dependencies.
  foreach(part ${parts})
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${part}>)
  endforeach()
  target_link_libraries(${target} PRIVATE ${parts} PUBLIC ${ARG_PUBLIC_DEPS})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${TESSERA_INSTALL_INCLUDEDIR}>)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  tessera_shared_properties(${target} ENGINE)
  # Installed headers: those that declare an external interface and the
  # engine headers they include.
  set(public)
  foreach(header ${headers})
    file(STRINGS ${header} marked REGEX "TESSERA_ENGINE_EXPORT")
    if(marked)
      list(APPEND public ${header})
    endif()
  endforeach()
  set(pending ${public})
  while(pending)
    list(POP_FRONT pending header)
    file(STRINGS ${header} includes REGEX "^#include \"engine/")
    foreach(line ${includes})
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "${PROJECT_SOURCE_DIR}/\\1" included "${line}")
      if(NOT included IN_LIST public)
        list(APPEND public ${included})
        list(APPEND pending ${included})
      endif()
    endforeach()
  endwhile()
  tessera_install_headers(${public})
endfunction()
