# The compiler settings of our own code; third-party sources are built without them.
add_library(hvt_options INTERFACE)
target_compile_features(hvt_options INTERFACE cxx_std_20)
target_include_directories(hvt_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
if(MSVC)
  # getenv() and the like are no safer in their Microsoft-only forms. Tables make objects with many sections.
  target_compile_options(hvt_options INTERFACE
    /W4 /WX /utf-8 /permissive- /Zc:__cplusplus /Zc:preprocessor /bigobj /external:anglebrackets /external:W0)
  target_compile_definitions(hvt_options INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(hvt_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
endif()
if(WIN32)
  target_compile_definitions(hvt_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00)
endif()

# One .exe that needs nothing but the system, like the one of MinGW.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

# address;undefined or thread: instruments everything, the test library included.
set(HVT_SANITIZE "" CACHE STRING "Sanitizers to build with, separated by commas")
if(HVT_SANITIZE)
  add_compile_options(-fsanitize=${HVT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${HVT_SANITIZE})
endif()
