#include "plain_text.h"

#include <algorithm>
#include <cstdio>

namespace kelpage {
namespace {

bool isPlain(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
           c == '_' || c == '.';
}

bool continues(const std::string& text, size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

/// Bytes of the character at `at`; 0 where it is no UTF-8.
size_t lengthOfCharacter(const std::string& text, size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    for (size_t i = 1; i < length; ++i)
        if (!continues(text, at + i)) return 0;
    const auto second = static_cast<unsigned char>(text[at + 1]);
    const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNone = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return isTooLong || isNone ? 0 : length;
}

std::string escapedForJson(char c) {
    if (c == '"' || c == '\\') return std::string("\\") + c;
    if (static_cast<unsigned char>(c) >= 0x20) return std::string(1, c);
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(c));
    return text;
}

}  // namespace

std::string inOneLine(std::string text) {
    const auto isControl = [](char c) { return (c >= 0 && c < 0x20) || c == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

std::string escapedForHtml(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string quotedForJson(const std::string& text) {
    std::string out = "\"";
    for (size_t at = 0; at < text.size();) {
        const size_t length = lengthOfCharacter(text, at);
        if (length == 0)
            out += "\uFFFD";
        else
            out += length == 1 ? escapedForJson(text[at]) : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return out + "\"";
}

std::string escapedForLink(const std::string& path) {
    std::string out;
    for (char c : path) {
        if (isPlain(c) || c == '/') {
            out += c;
            continue;
        }
        char text[4];
        std::snprintf(text, sizeof text, "%%%02X",
                      static_cast<unsigned>(static_cast<unsigned char>(c)));
        out += text;
    }
    return out;
}

std::string safeName(const std::string& name) {
    std::string out;
    for (char c : name)
        out += isPlain(c) ? c : '_';
    return out;
}

}  // namespace kelpage
