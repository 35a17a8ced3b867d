# Finds ACE and defines the imported target ACE::ACE. ACE_ROOT may name its folder.
find_path(ACE_INCLUDE_DIR ace/ACE.h)
find_library(ACE_LIBRARY NAMES ACE)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ACE REQUIRED_VARS ACE_LIBRARY ACE_INCLUDE_DIR)
if(ACE_FOUND AND NOT TARGET ACE::ACE)
  add_library(ACE::ACE UNKNOWN IMPORTED)
  set_target_properties(ACE::ACE PROPERTIES
    IMPORTED_LOCATION "${ACE_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${ACE_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES Threads::Threads)
  if(WIN32)
    # Handle sets are as large as ACE was built for, also where Winsock's headers come before ACE's.
    set(ace_handles 1024)
    file(STRINGS "${ACE_INCLUDE_DIR}/ace/config.h" ace_line REGEX "^#define FD_SETSIZE [0-9]+$")
    if(ace_line MATCHES "([0-9]+)$")
      set(ace_handles ${CMAKE_MATCH_1})
    endif()
    # A static library there: its users say so, and link what it calls.
    set_target_properties(ACE::ACE PROPERTIES
      INTERFACE_COMPILE_DEFINITIONS "ACE_AS_STATIC_LIBS;FD_SETSIZE=${ace_handles}"
      INTERFACE_LINK_LIBRARIES "Threads::Threads;mswsock;ws2_32;iphlpapi;netapi32")
  endif()
endif()
mark_as_advanced(ACE_INCLUDE_DIR ACE_LIBRARY)
