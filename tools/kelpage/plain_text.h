// Text for HTML, JSON, links and file names.
#pragma once

#include <string>

namespace kelpage {

/// A name as a part of a line: control characters become question marks.
std::string inOneLine(std::string text);

std::string escapedForHtml(const std::string& text);

/// With its quotes. Bytes that are no UTF-8 become the replacement character.
std::string quotedForJson(const std::string& text);

/// A path as a relative link.
std::string escapedForLink(const std::string& path);

/// A file name that a browser takes as it is.
std::string safeName(const std::string& name);

}  // namespace kelpage
