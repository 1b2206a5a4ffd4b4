#include "support/YAMLPath.h"

#include <cstdio>

namespace vorn {

namespace {

void appendEscaped(std::string& result, const std::string& component) {
    for (const char character : component) {
        switch (character) {
            case '"':
                result += "\\\"";
                break;
            case '\\':
                result += "\\\\";
                break;
            case '\n':
                result += "\\n";
                break;
            case '\r':
                result += "\\r";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\0':
                result += "\\0";
                break;
            default:
                if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
                    char escaped[16];
                    std::snprintf(escaped, sizeof escaped, "\\u{%X}",
                                  static_cast<unsigned>(static_cast<unsigned char>(character)));
                    result += escaped;
                } else {
                    result.push_back(character);
                }
        }
    }
}

}  // namespace

std::string YAMLPathText::describe(const YAMLPath& path) {
    std::string result = "[";
    for (size_t index = 0; index < path.size(); ++index) {
        if (index > 0) result += ", ";
        result.push_back('"');
        appendEscaped(result, path[index]);
        result.push_back('"');
    }
    result.push_back(']');
    return result;
}

}  // namespace vorn
