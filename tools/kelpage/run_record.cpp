#include "run_record.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>

namespace kelpage {
namespace {

// A line is "name TAB value" pairs, all parted by tabs, and ends with kEnd.
const char* const kEnd = "\t.";

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

std::string unescaped(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[++i];
        out += c == 't' ? '\t' : c == 'n' ? '\n' : c;
    }
    return out;
}

std::string lineOf(const Fields& fields) {
    std::string line;
    for (const auto& [name, value] : fields)
        line += (line.empty() ? "" : "\t") + name + "\t" + escaped(value);
    return line + kEnd + "\n";
}

/// Nothing for a line that is not whole.
Fields fieldsOfLine(const std::string& line) {
    Fields fields;
    if (line.size() < 2 || line.compare(line.size() - 2, 2, kEnd) != 0) return fields;
    const std::string body = line.substr(0, line.size() - 2);
    for (size_t at = 0; at < body.size();) {
        const size_t split = body.find('\t', at);
        if (split == std::string::npos) return {};
        const size_t end = std::min(body.find('\t', split + 1), body.size());
        fields.emplace_back(body.substr(at, split - at),
                            unescaped(body.substr(split + 1, end - split - 1)));
        at = end + 1;
    }
    return fields;
}

std::string lineOf(const std::string& name, const RecordEntry& entry) {
    Fields fields = {{"name", name}, {"key", entry.key}};
    for (auto& field : fieldsOf(entry.result))
        fields.push_back(std::move(field));
    return lineOf(fields);
}

}  // namespace

RunRecord::RunRecord(fs::path file) : file_(std::move(file)) {
    read();
    rewrite();
    descriptor_ = open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor_ < 0) throw FileError(file_.string() + " cannot be written");
}

RunRecord::~RunRecord() {
    close(descriptor_);
}

const RecordEntry* RunRecord::find(const std::string& name) const {
    const auto found = earlier_.find(name);
    return found == earlier_.end() ? nullptr : &found->second;
}

void RunRecord::begin(const std::string& name) {
    if (find(name) != nullptr) append(lineOf({{"name", name}}));
}

void RunRecord::add(const std::string& name, const RecordEntry& entry) {
    append(lineOf(name, entry));
}

void RunRecord::read() {
    std::ifstream in(file_, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        const Fields fields = fieldsOfLine(line);
        if (fields.empty() || fields[0].first != "name") continue;
        earlier_.erase(fields[0].second);
        if (fields.size() > 1 && fields[1].first == "key")
            earlier_[fields[0].second] = {fields[1].second, resultOf(fields)};
    }
}

/// One line for each page, and no piece of one at the end.
void RunRecord::rewrite() const {
    const fs::path fresh = file_.string() + ".new";
    std::ofstream out(fresh, std::ios::binary);
    for (const auto& [name, entry] : earlier_)
        out << lineOf(name, entry);
    out.close();
    std::error_code error;
    if (out) fs::rename(fresh, file_, error);
    if (!out || error) throw FileError(file_.string() + " cannot be written");
}

/// In one write. The line end in front keeps it apart from a piece that a full disk left.
void RunRecord::append(const std::string& text) {
    const std::string line = "\n" + text;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (write(descriptor_, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        throw FileError(file_.string() + " cannot be written");
}

std::string stampOf(const fs::path& file) {
    struct stat facts {};
    if (stat(file.c_str(), &facts) != 0) return "none";
    return std::to_string(facts.st_size) + " " + std::to_string(facts.st_mtim.tv_sec) + "." +
           std::to_string(facts.st_mtim.tv_nsec);
}

std::string digestOf(const std::string& bytes) {
    uint64_t digest = 14695981039346656037U;  // FNV-1a
    for (char c : bytes)
        digest = (digest ^ static_cast<unsigned char>(c)) * 1099511628211U;
    char text[20];
    std::snprintf(text, sizeof text, "%016jx", static_cast<uintmax_t>(digest));
    return text;
}

}  // namespace kelpage
