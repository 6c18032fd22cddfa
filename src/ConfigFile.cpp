#include "ConfigFile.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>
#include <utility>

namespace kel::detail {
namespace {

constexpr size_t kShortest = 3;  // a=b, or [a]

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    if (!text.empty() && text.front() == '"' && text.back() == '"') {
        text.remove_prefix(1);
        if (!text.empty()) text.remove_suffix(1);
    }
    return text;
}

std::string trimmedCopy(std::string_view text) {
    return std::string(trimmed(text));
}

/// A line joined from physical lines. What trimming takes from its start is only skipped: moving
/// the rest each time would take forever on a long line of many short pieces.
class LogicalLine {
  public:
    std::string_view text() const { return std::string_view(joined_).substr(start_); }
    void clear() {
        joined_.clear();
        start_ = 0;
    }
    void append(std::string_view piece) { joined_ += piece; }
    void trim() {
        const std::string_view rest = trimmed(text());
        start_ = rest.empty() ? joined_.size() : static_cast<size_t>(rest.data() - joined_.data());
        joined_.resize(start_ + rest.size());
    }
    void dropLast() { joined_.pop_back(); }

  private:
    std::string joined_;
    size_t start_ = 0;
};

}  // namespace

void Value::set(std::string text, int blockId, int type) {
    text_ = std::move(text);
    blockId_ = blockId;
    type_ = type;
}

int Config::init(const char* name, char separator, int limit) {
    open_config_file(name);
    separator_ = separator;
    limit_ = std::max(limit, 1);
    current_ = first_ = nullptr;
    blockCount_ = 0;
    read_config_file();
    return close_config_file();
}

int Config::open_config_file(const char* name) {
    file_.reset(name != nullptr ? std::fopen(name, "r") : nullptr);
    if (!file_) throw "File Open Error";
    return 0;
}

int Config::close_config_file() {
    file_.reset();
    return 0;
}

/// Appends an empty node behind the cursor and moves there.
Value* Config::append() {
    Value* const node = &nodes_.emplace_back();
    (current_ != nullptr ? current_->next_ : first_) = node;
    return current_ = node;
}

int Config::read_config_file() {
    LogicalLine logical;
    bool continued = false;
    std::string line;
    while (true) {
        // The node that waits for a line is the empty one that ends the list.
        if (current_ == nullptr || current_->get_type() != Value::kEmpty) append();
        line.clear();
        if (!file_ || KelGetLine(file_.get(), line) != 0) return 0;
        line.resize(std::min(line.find('#'), line.size()));
        S_trunc(line);
        if (!std::exchange(continued, false)) logical.clear();
        logical.append(line);
        // Too short a line is dropped before its backslash is looked at: it joins nothing.
        if (logical.text().size() < kShortest) continue;
        logical.trim();
        if (!logical.text().empty() && logical.text().back() == '\\') {
            logical.dropLast();
            continued = true;
            continue;
        }
        readLogicalLine(std::string(logical.text()));
    }
}

/// Fills the current node, and appends more, if the line is a block header or a keyword line.
void Config::readLogicalLine(const std::string& text) {
    if (text.size() < kShortest || text.front() == '\r') return;
    if (text.front() == '[' && text.back() == ']') {
        current_->set(text.substr(1, text.size() - 2), ++blockCount_, Value::kBlock);
        return;
    }
    size_t separator = text.find(separator_);
    if (separator == std::string::npos || separator == 0) return;
    const std::string_view all = text;
    current_->set(trimmedCopy(all.substr(0, separator)), blockCount_, Value::kKeyword);
    const int values = std::min(S_count(text, separator_), limit_);
    for (int i = 1; i <= values; ++i) {
        const size_t start = separator + 1;
        separator = i < values ? text.find(separator_, start) : std::string::npos;
        append()->set(trimmedCopy(all.substr(start, separator - start)), blockCount_,
                      Value::kValue);
    }
}

/// Moves the cursor from its place on to a keyword, of that name unless it is null. Stops with
/// false at the last node, or where another block than `blockId` begins (-1: no matter).
bool Config::nextKeyword(const char* name, int blockId) {
    for (; !isLast(); current_ = current_->next_) {
        if (blockId >= 0 && current_->get_block_id() != blockId) return false;
        if (current_->is_keyword() && (name == nullptr || current_->text_ == name)) return true;
    }
    return false;
}

/// Moves the cursor to the keyword of number k; a null block is the whole list, a null name any.
bool Config::findKeyword(const char* block, const char* name, int k) {
    current_ = first_;
    int blockId = -1;
    if (block != nullptr) {
        blockId = search_block(block);
        if (blockId == 0) return false;
    }
    for (; nextKeyword(name, blockId); current_ = current_->next_)
        if (--k == 0) return true;
    return false;
}

char* Config::value(const char* keyword, int n) {
    return keyword != nullptr ? _ivalue(nullptr, keyword, 1, n) : nullptr;
}

char* Config::value(const char* block, const char* keyword, int n) {
    return block != nullptr && keyword != nullptr ? _ivalue(block, keyword, 1, n) : nullptr;
}

char* Config::_ivalue(const char* block, const char* keyword, int k, int n) {
    if (k < 1 || n < 1) return nullptr;
    return findKeyword(block, keyword, k) ? search_value(n) : nullptr;
}

char* Config::keyword(int k) {
    return k >= 1 && findKeyword(nullptr, nullptr, k) ? current_->sget() : nullptr;
}

int Config::search_block(const char* name) {
    if (name == nullptr) return 0;
    for (; !isLast(); current_ = current_->next_)
        if (current_->is(Value::kBlock, name)) return current_->get_block_id();
    return 0;
}

char* Config::search_value(int n) {
    if (current_ == nullptr) return nullptr;
    if (n < 1) return current_->sget();
    for (int count = 0; !isLast();) {
        current_ = current_->next_;
        if (isLast() || current_->is_keyword()) return nullptr;
        if (++count == n) return current_->sget();
    }
    return nullptr;
}

void Config::S_trunc(std::string& text) {
    const std::string_view rest = trimmed(text);
    if (rest.size() == text.size()) return;
    if (!rest.empty()) text.erase(0, static_cast<size_t>(rest.data() - text.data()));
    text.resize(rest.size());
}

int S_count(const std::string& text, char c) {
    return static_cast<int>(std::count(text.begin(), text.end(), c));
}

int KelGetLine(FILE* file, std::string& line) {
    char buffer[1024] = {};
    if (std::fgets(buffer, sizeof buffer, file) == nullptr) return 1;
    size_t length = std::strlen(buffer);
    if (length == 0) return 1;
    if (buffer[length - 1] == '\n') --length;
    line.append(buffer, length);
    return 0;
}

}  // namespace kel::detail
