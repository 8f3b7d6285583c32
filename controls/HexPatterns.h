#pragma once

// Input patterns of the hexadecimal line edits. The hexadecimal class also
// admits "(", ")" and "|"; stored camera values were entered under these
// patterns, so they stay as they are.
namespace HexPatterns {

inline constexpr char kHexOrDecimalInteger[] = "^\\b(0x([0-9(A-F|a-f)]{1,8}))|(^[0-9][0-9]*)\\b$";
inline constexpr char kHexOrDecimalFraction[] =
    "^\\b(0x([0-9(A-F|a-f)]{1,8}))|([0-9]*[.])?[0-9]*\\b$";
// Searched for anywhere in the text, in either letter case.
inline constexpr char kHexRun[] = "0x([0-9(A-F|a-f)]{1,8})";

} // namespace HexPatterns
