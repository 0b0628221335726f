// SPDX-License-Identifier: MIT
// The texts of the library's own codes. Pinned by tests/values/ErrorMessagesTest.cpp.
#include "values/ErrorMessages.h"

namespace Tavrin::detail {

namespace {

constexpr ErrorRow rows[] = {
    {0, "", ""},
    {1, "%1", nullptr},
    {2, "%1 is undefined", nullptr},
    {3, "Cannot assign value", nullptr},
    {4, "Unterminated string constant", nullptr},
    {5, "Unterminated comment", nullptr},
    {6, "Bad digit in number", nullptr},
    {7, "Language feature '%1' is not supported", nullptr},
    {8, "Syntax error", nullptr},
    {9, "Illegal use of reserved word '%1'", nullptr},
    {10, "Illegal break or continue outside a loop", nullptr},
    {11, "Label not found", nullptr},
    {12, "Expression is not constant", nullptr},
    {13, "Too many closing braces", nullptr},
    {14, "No matching closing brace found", nullptr},
    {15, "Try without catch or finally", nullptr},
    {16, "catch/finally without try", nullptr},
    {17, "Variable name expected", nullptr},
    {18, "Variable or value expected", nullptr},
    {19, "Bad argument %1", nullptr},
    {20, "Bad argument list", nullptr},
    {21, "%1 is not an object", nullptr},
    {22, "%1 does not have a constructor", nullptr},
    {23, "%1 does not have a value", nullptr},
    {24, "%1 is not a function", nullptr},
    {25, "Expected: %1", nullptr},
    {26, "%1 cannot work with instances of this class", nullptr},
    {27, "Stack overrun", nullptr},
    {-28, "Out of memory", nullptr},
    {-29, "Uncaught exception %1", nullptr},
    {30, "Illegal 'return' outside of a function body", nullptr},
    {31, "Bad or invalid URI: %1", nullptr},
    {32, "Cannot execute", nullptr},
    {-33, "Internal error", nullptr},
    {-34, "Execution halted", nullptr},
    {-35, "Timeout while waiting for the engine", nullptr},
    {-36, "Not implemented", nullptr},
    {37, "Character conversion error", nullptr},
    {38, "Partial multibyte character found", nullptr},
    {39, "More than one switch default", nullptr},
    {40, "%1 redeclared", nullptr},
    {41, "%1 is out of range", nullptr},
    {42, "Catch after unconditional catch", nullptr},
    {43, "Evaluation error", nullptr},
    {44, "Cannot convert", nullptr},
    {45, "Object is invalid", nullptr},
    {46, "%1 is read only", nullptr},
    {47, "Data type mismatch", nullptr},
    {48, "File or folder does not exist", nullptr},
    {49, "File or folder already exists", nullptr},
    {50, "I/O device is not open", nullptr},
    {51, "Read past EOF", nullptr},
    {52, "I/O error", nullptr},
    {53, "Permission denied", nullptr},
    {54, "Uncaught JavaScript exception: %1", nullptr},
    {55, "Object does not support the property or method '%1'", nullptr},
    {56, "Cannot connect to %1", nullptr},
    {57, "Cannot resolve reference", nullptr},
    {58, "I/O Timeout", nullptr},
    {59, "No response", nullptr},
    {60, "Not well-formed (invalid token)", nullptr},
    {61, "Unclosed token", nullptr},
    {62, "Mismatched tag", nullptr},
    {63, "Duplicate attribute", nullptr},
    {64, "Junk after document element", nullptr},
    {65, "Entity parsing error", nullptr},
    {66, "XML declaration not at start of external entity", nullptr},
    {67, "Unknown encoding", nullptr},
    {68, "Encoding specified in XML declaration is incorrect", nullptr},
    {69, "Unclosed CDATA section", nullptr},
    {70, "Requested feature requires DTD support", nullptr},
    {71, "Unexpected DOCTYPE name", nullptr},
    {72, "Unbound namespace prefix", nullptr},
    {73, "Unknown axis name: %1", nullptr},
    {74, "Unsupported axis", nullptr},
    {75, "Operand expected, but found %1", nullptr},
    {76, "Node set expected", nullptr},
    {77, "Node test expected, but found %1", nullptr},
    {78, "Cannot set property %1", nullptr},
    {79, "Marquescript error: %1", nullptr},
};

// Every row stands at the place of its code.
constexpr bool areInPlace()
{
    unsigned place = 0;
    for (const ErrorRow &row : rows)
        if (absoluteCode(row.code) != place++)
            return false;
    return place == 80;
}
static_assert(areInPlace());

} // namespace

std::span<const ErrorRow> errorRows()
{
    return rows;
}

} // namespace Tavrin::detail
