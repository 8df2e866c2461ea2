#pragma once

// Everything in the library is hidden unless marked. Windows distinguishes building from using; elsewhere
// default visibility serves both.
#if defined(_WIN32)
#if defined(ZANT_LOGGING_BUILD)
#define ZANT_LOGGING_EXPORT __declspec(dllexport)
#else
#define ZANT_LOGGING_EXPORT __declspec(dllimport)
#endif
#else
#define ZANT_LOGGING_EXPORT __attribute__((visibility("default")))
#endif
