#pragma once

// Everything in the library is hidden unless marked. Windows distinguishes building from using; elsewhere
// default visibility serves both, and makes type information of exceptions one across the boundary.
#if defined(_WIN32)
#if defined(PACKAGE_MINDER_HOST_BUILD)
#define PACKAGE_MINDER_HOST_EXPORT __declspec(dllexport)
#else
#define PACKAGE_MINDER_HOST_EXPORT __declspec(dllimport)
#endif
#define PACKAGE_MINDER_HOST_LOCAL
#else
#define PACKAGE_MINDER_HOST_EXPORT __attribute__((visibility("default")))
// For what is declared inside an exported class and is nobody's business outside.
#define PACKAGE_MINDER_HOST_LOCAL __attribute__((visibility("hidden")))
#endif
