# ferrylink_target(NAME)            what every target of ours gets: warnings, include root
# ferrylink_library(NAME SOURCES..) a static library target ferrylink_NAME with the alias FerryLink::NAME
# ferrylink_test(NAME SOURCES.. LIBRARIES.. [LABELS..] [QT] [WIDGETS] [VIRTUAL_ADAPTER] [SERIAL])
#   one GoogleTest program of several files; each TEST becomes a ctest entry.
#   QT runs the tests inside a QCoreApplication, WIDGETS inside an offscreen QApplication;
#   VIRTUAL_ADAPTER links the simulated hidapi in the place of the real one;
#   SERIAL keeps its entries from running at the same time as any other test (for those that measure time).

function(ferrylink_target name)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_options(${name} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wformat=2 -Wundef
    # Mistaken about the standard library where the cross-compiler inlines more of it.
    $<$<NOT:$<PLATFORM_ID:Windows>>:-Wnull-dereference>
    # Members that only one system's source uses are part of both systems' classes.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-private-field>
    $<$<BOOL:${FERRYLINK_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()

function(ferrylink_library name)
  add_library(ferrylink_${name} STATIC ${ARGN})
  add_library(FerryLink::${name} ALIAS ferrylink_${name})
  target_include_directories(ferrylink_${name} INTERFACE "${PROJECT_SOURCE_DIR}")
  ferrylink_target(ferrylink_${name})
endfunction()

function(ferrylink_test name)
  cmake_parse_arguments(arg "QT;WIDGETS;VIRTUAL_ADAPTER;SERIAL" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS unit) # an empty value would vanish, and the next property's name be taken for the label
  endif()
  set(target ferrylink_test_${name})
  add_executable(${target} ${arg_SOURCES})
  ferrylink_target(${target})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES})
  if(arg_VIRTUAL_ADAPTER)
    target_link_libraries(${target} PRIVATE FerryLink::virtual_hidapi)
  endif()
  if(arg_WIDGETS)
    target_link_libraries(${target} PRIVATE GTest::gmock FerryLink::widgets_test_main)
  elseif(arg_QT)
    target_link_libraries(${target} PRIVATE GTest::gmock FerryLink::qt_test_main)
  else()
    target_link_libraries(${target} PRIVATE GTest::gmock_main)
  endif()
  if("threads" IN_LIST arg_LABELS)
    add_dependencies(ferrylink_threaded_tests ${target})
  endif()
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 120 RUN_SERIAL $<BOOL:${arg_SERIAL}>
      ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()
