#pragma once

/// Marks what the shared library gives to hosts; every other symbol stays hidden.
#if defined(CASEBOOK_STATIC)
#define CASEBOOK_EXPORT
#elif defined(_WIN32) && defined(CASEBOOK_BUILDING)
#define CASEBOOK_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define CASEBOOK_EXPORT __declspec(dllimport)
#else
#define CASEBOOK_EXPORT __attribute__((visibility("default")))
#endif
