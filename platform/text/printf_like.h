// Lets the compiler check the arguments of a printf-like function, where it can.
#pragma once

#if defined(__MINGW32__)
#define QXDB_PRINTF_LIKE(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define QXDB_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define QXDB_PRINTF_LIKE(text, first)
#endif
