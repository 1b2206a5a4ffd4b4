#include "support/URLText.h"

#include <cstring>

namespace vorn {

namespace {

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isHexDigit(char character) {
    return isDigit(character) || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

bool isSchemeCharacter(char character) {
    return isLetter(character) || isDigit(character) || character == '+' || character == '-' ||
           character == '.';
}

// Unreserved, general and sub-delimiters: what may stand in a URI unescaped.
bool isURICharacter(char character) {
    if (isLetter(character) || isDigit(character)) return true;
    return character != '\0' && std::strchr("-._~:/?#[]@!$&'()*+,;=", character) != nullptr;
}

}  // namespace

bool URLText::isAbsoluteURL(std::string_view text) {
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || colon + 1 == text.size()) return false;
    if (!isLetter(text.front())) return false;
    for (size_t index = 1; index < colon; ++index) {
        if (!isSchemeCharacter(text[index])) return false;
    }
    for (size_t index = colon + 1; index < text.size(); ++index) {
        const char character = text[index];
        if (character == '%') {
            if (index + 2 >= text.size()) return false;
            if (!isHexDigit(text[index + 1]) || !isHexDigit(text[index + 2])) return false;
            index += 2;
        } else if (!isURICharacter(character)) {
            return false;
        }
    }
    return true;
}

}  // namespace vorn
