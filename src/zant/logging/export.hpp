#pragma once

// Everything in the library is hidden unless marked. Windows distinguishes building from using; elsewhere
// default visibility serves both.
#if defined(_WIN32)
#if defined(ZANT_LOGGING_BUILD)
#define ZANT_LOGGING_EXPORT __declspec(dllexport)
#else
#define ZANT_LOGGING_EXPORT __declspec(dllimport)
#endif
// An enumeration has nothing that Windows could export; its type is known by its name there.
#define ZANT_LOGGING_EXPORT_ENUM
#else
#define ZANT_LOGGING_EXPORT __attribute__((visibility("default")))
#define ZANT_LOGGING_EXPORT_ENUM ZANT_LOGGING_EXPORT
#endif
