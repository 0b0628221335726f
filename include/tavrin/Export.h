// SPDX-License-Identifier: MIT
#pragma once

// TAVRIN_API marks what leaves the shared library; everything else stays hidden in it.
#if defined(_WIN32)
#if defined(TAVRIN_BUILDING)
#define TAVRIN_API __declspec(dllexport)
#else
#define TAVRIN_API __declspec(dllimport)
#endif
#else
#define TAVRIN_API __attribute__((visibility("default")))
#endif
