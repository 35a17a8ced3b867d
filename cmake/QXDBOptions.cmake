# Compiler settings shared by every target, carried by the interface target qxdb_options.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# An installed tree finds its own libraries wherever it is moved to.
file(RELATIVE_PATH QXDB_BIN_TO_LIB "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${QXDB_BIN_TO_LIB}")

set(QXDB_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

include(CheckCXXCompilerFlag)
add_library(qxdb_options INTERFACE)
target_include_directories(qxdb_options INTERFACE
  "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>" "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>")

if(MSVC)
  target_compile_options(qxdb_options INTERFACE /W4 /WX /utf-8 /EHa /permissive- /wd4251)
  # Its <windows.h> would otherwise make macros of min and max.
  target_compile_definitions(qxdb_options INTERFACE NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00)
else()
  target_compile_options(qxdb_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
  # A processor fault is turned into an exception that unwinds through our own frames, so a trapping
  # instruction may throw and every frame needs unwind tables.
  check_cxx_compiler_flag(-fnon-call-exceptions QXDB_HAS_NON_CALL_EXCEPTIONS)
  if(QXDB_HAS_NON_CALL_EXCEPTIONS)
    target_compile_options(qxdb_options INTERFACE -fnon-call-exceptions)
  endif()
  target_compile_options(qxdb_options INTERFACE -fasynchronous-unwind-tables)
endif()

if(QXDB_SANITIZE)
  target_compile_options(qxdb_options INTERFACE
    "-fsanitize=${QXDB_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(qxdb_options INTERFACE "-fsanitize=${QXDB_SANITIZE}")
endif()
