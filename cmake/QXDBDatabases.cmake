# The database clients of the adapter, each of which a build can do without. The target qxdb_databases
# carries what was found, and says so in QXDB_HAVE_POSTGRESQL, QXDB_HAVE_MYSQL and QXDB_HAVE_ODBC.
if(UNIX)
  set(QXDB_NATIVE_CLIENTS ON)
else()
  set(QXDB_NATIVE_CLIENTS OFF)
endif()
option(QXDB_WITH_POSTGRESQL "Reach PostgreSQL through libpq" ${QXDB_NATIVE_CLIENTS})
option(QXDB_WITH_MYSQL "Reach MySQL and MariaDB through POCO's connector" ${QXDB_NATIVE_CLIENTS})
option(QXDB_WITH_ODBC "Reach ODBC data sources through POCO's connector" ON)

add_library(qxdb_databases INTERFACE)

if(QXDB_WITH_POSTGRESQL)
  find_package(PostgreSQL REQUIRED)
  target_link_libraries(qxdb_databases INTERFACE PostgreSQL::PostgreSQL)
  target_compile_definitions(qxdb_databases INTERFACE QXDB_HAVE_POSTGRESQL)
endif()

if(QXDB_WITH_MYSQL)
  pkg_check_modules(MARIADB REQUIRED IMPORTED_TARGET libmariadb)
  # POCO's package names this target and leaves it to others to make it.
  if(NOT TARGET MySQL::client)
    add_library(MySQL::client INTERFACE IMPORTED)
    target_link_libraries(MySQL::client INTERFACE PkgConfig::MARIADB)
  endif()
  find_package(Poco REQUIRED COMPONENTS DataMySQL)
  target_link_libraries(qxdb_databases INTERFACE Poco::DataMySQL PkgConfig::MARIADB)
  target_compile_definitions(qxdb_databases INTERFACE QXDB_HAVE_MYSQL)
endif()

if(QXDB_WITH_ODBC)
  find_package(ODBC REQUIRED)
  find_package(Poco REQUIRED COMPONENTS DataODBC)
  target_link_libraries(qxdb_databases INTERFACE Poco::DataODBC ODBC::ODBC)
  target_compile_definitions(qxdb_databases INTERFACE QXDB_HAVE_ODBC)
endif()
