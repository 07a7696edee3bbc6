# hvt_layer(name SOURCES ... WIN32 ... POSIX ... DEPENDS ... LINK_WIN32 ... LINK_POSIX ...)
#
# One folder of src/ as one library. DEPENDS is the dependency rule: a layer sees only what it names here.
function(hvt_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;WIN32;POSIX;DEPENDS;LINK_WIN32;LINK_POSIX" ${ARGN})
  if(WIN32)
    list(APPEND LAYER_SOURCES ${LAYER_WIN32})
    set(system_libraries ${LAYER_LINK_WIN32})
  else()
    list(APPEND LAYER_SOURCES ${LAYER_POSIX})
    set(system_libraries ${LAYER_LINK_POSIX})
  endif()
  add_library(hvt_${name} STATIC ${LAYER_SOURCES})
  list(TRANSFORM LAYER_DEPENDS PREPEND hvt_)
  target_link_libraries(hvt_${name} PUBLIC hvt_options ${LAYER_DEPENDS} PRIVATE ${system_libraries})
endfunction()

# hvt_test(name SOURCES ... DEPENDS ...): one test program for one layer.
function(hvt_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(test_${name} ${TEST_SOURCES})
  list(TRANSFORM TEST_DEPENDS PREPEND hvt_)
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(test_${name} PRIVATE hvt_options ${TEST_DEPENDS} GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND test_${name})
  # Libraries that were not built for ThreadSanitizer (Qt) hide their locks from it: what they do with memory
  # says nothing, what we do in their callbacks still does.
  set_tests_properties(${name} PROPERTIES
    TIMEOUT 300 ENVIRONMENT "TSAN_OPTIONS=ignore_noninstrumented_modules=1 halt_on_error=1")
endfunction()

# hvt_windows_face_test(name): the test makes native windows. It needs the common controls of the program's
# manifest and, under Wine, a display.
function(hvt_windows_face_test name)
  include(${PROJECT_SOURCE_DIR}/packaging/windows/resources.cmake)
  hvt_windows_resources(test_${name})
  hvt_needs_display(test_${name})
endfunction()

# hvt_needs_display(target): the Windows program runs on a display of its own where it runs under Wine.
function(hvt_needs_display target)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set_target_properties(${target} PROPERTIES
      CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/tools/wine/windowed.sh)
  endif()
endfunction()
