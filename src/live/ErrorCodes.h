// SPDX-License-Identifier: MIT
#pragma once

// The error codes that objects give; their texts stand in values/ErrorMessages.cpp.
namespace Tavrin::detail {

inline constexpr int errorUndefined = 2;      // "%1 is undefined"
inline constexpr int errorSyntax = 8;         // "Syntax error"
inline constexpr int errorNoObject = 21;      // "%1 is not an object"
inline constexpr int errorNoConstructor = 22; // "%1 does not have a constructor"
inline constexpr int errorNoFunction = 24;    // "%1 is not a function"
inline constexpr int errorExpected = 25;      // "Expected: %1"
inline constexpr int errorWrongClass = 26;    // "%1 cannot work with instances of this class"
inline constexpr int errorStackOverrun = 27;  // "Stack overrun"
inline constexpr int errorRedeclared = 40;    // "%1 redeclared"
inline constexpr int errorNoIndex = 41;       // "%1 is out of range"
inline constexpr int errorInvalid = 45;       // "Object is invalid"
inline constexpr int errorReadOnly = 46;      // "%1 is read only"
inline constexpr int errorNotSupported = 55; // "Object does not support the property or method ..."
inline constexpr int errorOutOfMemory = -28; // "Out of memory"
inline constexpr int errorUncaught = -29;    // "Uncaught exception %1"

} // namespace Tavrin::detail
