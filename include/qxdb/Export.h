// QXDB_*_API marks the classes that the three shared libraries export.
#pragma once

#if defined(_WIN32) && !defined(QXDB_STATIC)
#define QXDB_SHARED_EXPORT __declspec(dllexport)
#define QXDB_SHARED_IMPORT __declspec(dllimport)
#elif defined(__GNUC__)
#define QXDB_SHARED_EXPORT __attribute__((visibility("default")))
#define QXDB_SHARED_IMPORT __attribute__((visibility("default")))
#else
#define QXDB_SHARED_EXPORT
#define QXDB_SHARED_IMPORT
#endif

#ifdef QXDB_OBJECTS_EXPORTS
#define QXDB_OBJECTS_API QXDB_SHARED_EXPORT
#else
#define QXDB_OBJECTS_API QXDB_SHARED_IMPORT
#endif

#ifdef QXDB_ADAPTER_EXPORTS
#define QXDB_ADAPTER_API QXDB_SHARED_EXPORT
#else
#define QXDB_ADAPTER_API QXDB_SHARED_IMPORT
#endif

#ifdef QXDB_AGENT_EXPORTS
#define QXDB_AGENT_API QXDB_SHARED_EXPORT
#else
#define QXDB_AGENT_API QXDB_SHARED_IMPORT
#endif
