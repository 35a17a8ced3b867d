# Builds for 64-bit Windows with mingw-w64 (posix threads, SEH). The libraries come from the cache
# folder that scripts/windows-deps fills; nothing of the building machine's own is looked at.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

if(DEFINED ENV{QXDB_WINDOWS_DEPS})
  set(QXDB_WINDOWS_DEPS "$ENV{QXDB_WINDOWS_DEPS}/prefix")
else()
  set(QXDB_WINDOWS_DEPS "$ENV{HOME}/.cache/qxdb-windows/prefix")
endif()
set(CMAKE_FIND_ROOT_PATH "${QXDB_WINDOWS_DEPS}" /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Windows 10, for every header of the system and of the libraries alike.
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -DWINVER=0x0A00")
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -DWINVER=0x0A00")
