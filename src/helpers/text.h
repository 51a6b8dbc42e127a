// Byte-wise operations on 8-bit text. Nothing here knows a code page but ToLower's three letters.
#pragma once

#include <string>
#include <vector>

// True if `needle` occurs in `text`; an empty needle occurs in every text.
bool Contains(const std::string& text, const std::string& needle);

// Start of the last occurrence, or -1; for an empty needle the length of the text.
int FindLast(const std::string& text, const std::string& needle);

// Cuts `text` from `position`, which lies within it, to its end.
void EraseFrom(std::string& text, int position);

// Replaces every `from` at or after `start`, left to right; inserted text is not searched again. `from` is
// not empty. Linear in the length of the text.
void ReplaceAll(std::string& text, const std::string& from, const std::string& to, int start = 0);

// True if length and every byte are the same.
bool Equals(const std::string& a, const std::string& b);

// True if an element equals `text`. Searches from the front: for short lists.
bool ListContains(const std::vector<std::string>& list, const std::string& text);

// Lower-cases the ASCII letters and the Windows-1252 bytes of three more, in place.
// Gives a copy of the result.
std::string ToLower(std::string& text);
