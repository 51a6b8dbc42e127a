#include "helpers/text.h"

#include <algorithm>
#include <cctype>

namespace {
// Å, Ä and Ö in Windows-1252, whatever code page is active.
const std::string lowerLetters = "\xE5\xE4\xF6";
const std::string upperLetters = "\xC5\xC4\xD6";
} // namespace

bool Contains(const std::string& text, const std::string& needle)
{
    return text.find(needle) != std::string::npos;
}

int FindLast(const std::string& text, const std::string& needle)
{
    const std::size_t position = text.rfind(needle);
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

void EraseFrom(std::string& text, int position)
{
    text.erase(static_cast<std::size_t>(position));
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to, int start)
{
    std::size_t found = text.find(from, static_cast<std::size_t>(start));
    if (found == std::string::npos)
        return;

    std::string replaced;
    std::size_t copied = 0;
    for (; found != std::string::npos; found = text.find(from, copied)) {
        replaced.append(text, copied, found - copied).append(to);
        copied = found + from.size();
    }
    text = replaced.append(text, copied, std::string::npos);
}

bool Equals(const std::string& a, const std::string& b)
{
    return a == b;
}

bool ListContains(const std::vector<std::string>& list, const std::string& text)
{
    return std::any_of(list.begin(), list.end(),
                       [&](const std::string& element) { return Equals(element, text); });
}

std::string ToLower(std::string& text)
{
    for (char& letter : text) {
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
        const std::size_t index = upperLetters.find(letter);
        if (index != std::string::npos)
            letter = lowerLetters[index];
    }
    return text;
}
