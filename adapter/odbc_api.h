// ODBC's own functions and types, as POCO's connector includes them on every platform.
#pragma once

#include <Poco/Data/ODBC/ODBC.h>
#include <Poco/Data/ODBC/Unicode.h>
