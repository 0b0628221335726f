// SPDX-License-Identifier: MIT
#pragma once

// TAVRIN_EXPORT and TAVRIN_IMPORT mark a symbol that one shared library offers and another module
// uses. ELF and Mach-O know its visibility, which is the same on both sides; PE names the side.
#if defined(__ELF__) || defined(__MACH__)
#define TAVRIN_EXPORT __attribute__((visibility("default")))
#define TAVRIN_IMPORT __attribute__((visibility("default")))
#else
#define TAVRIN_EXPORT __declspec(dllexport)
#define TAVRIN_IMPORT __declspec(dllimport)
#endif

// TAVRIN_API marks what leaves this library; everything else stays hidden in it.
#if defined(TAVRIN_BUILDING)
#define TAVRIN_API TAVRIN_EXPORT
#else
#define TAVRIN_API TAVRIN_IMPORT
#endif
