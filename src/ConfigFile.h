// A reader of plain text configuration files made of blocks, keywords and values:
//
//     [BLOCK]
//     KEYWORD = value   # '#' starts a comment, also inside quotes
//     TEXT = " a b "    # quotes keep spaces
//     LONG = 12\        # goes on in the next line, which is joined without a space
//     34
//
// Lines of one or two characters are ignored, and so are lines of any other form. The file is read
// whole at construction into a list of nodes: a block, then each keyword followed by its values. An
// empty node ends the list.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>

namespace kel::detail {

/// One node of the list.
class Value {
  public:
    enum { kEmpty = 0, kValue = 1, kKeyword = 2, kBlock = 3 };

    void set(std::string text, int blockId, int type);
    std::string get() const { return text_; }
    char* sget() { return text_.data(); }
    bool is_keyword() const { return type_ == kKeyword; }
    bool is_block() const { return type_ == kBlock; }
    /// Number of the block that the node stands in; 0 before the first block.
    int get_block_id() const { return blockId_; }
    int get_type() const { return type_; }

  private:
    friend class Config;
    bool is(int type, const char* text) const { return type_ == type && text_ == text; }

    std::string text_;
    int32_t type_ = kEmpty;
    int32_t blockId_ = 0;
    Value* next_ = nullptr;
};

/// The list and a cursor in it. Lookups move the cursor, so an object must not be shared by
/// threads. They give a text that lives as long as the object, or null where there is none. Numbers
/// `k` and `n` count from 1; below 1 nothing is found. Names are compared exactly.
class Config {
  public:
    /// @param separator stands between a keyword and its values
    /// @param limit     how many values of a keyword are kept apart; the last runs to the end of
    ///                  the line. Below 1 means 1.
    /// @throws const char* "File Open Error"
    Config() : Config("config.cfg", '=', 1) {}
    Config(char separator, int limit) : Config("config.cfg", separator, limit) {}
    Config(const char* name, int limit) : Config(name, '=', limit) {}
    Config(const char* name, char separator, int limit) { init(name, separator, limit); }
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;
    ~Config() = default;

    /// Reads another file, as the constructor does. What was found before stays valid. Returns 0.
    int init(const char* name, char separator, int limit);

    /// The steps of init(). They return 0.
    int open_config_file(const char* name);
    int close_config_file();
    int read_config_file();

    /// Value n of the first such keyword: anywhere, or inside the first block of that name.
    char* operator()(const char* keyword, int n) { return value(keyword, n); }
    char* operator()(const char* block, const char* keyword, int n) {
        return value(block, keyword, n);
    }
    char* value(const char* keyword, int n);
    char* value(const char* block, const char* keyword, int n);

    /// Value n of keyword number k: of the whole list, of a block (null: the whole list), or among
    /// those of one name (null: any name).
    char* ivalue(int k, int n) { return _ivalue(nullptr, nullptr, k, n); }
    char* ivalue(const char* block, int k, int n) { return _ivalue(block, nullptr, k, n); }
    char* ivalue(const char* block, const char* keyword, int k, int n) {
        return _ivalue(block, keyword, k, n);
    }

    /// The text of keyword number k of the whole list.
    char* keyword(int k);

    /// From the cursor on, moves it to the first block of that name. Returns the block's id, or 0.
    int search_block(const char* name);

    /// Value n of the keyword under the cursor; for n below 1 the text of the cursor's node. A next
    /// block's name counts as a value of the keyword before it.
    char* search_value(int n);

    /// Trims white space, then a pair of double quotes round the rest. What is inside the quotes
    /// stays, and a text of one quote becomes empty.
    static void S_trunc(std::string& text);

  private:
    struct FileClose {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    bool isLast() const { return current_ == nullptr || current_->next_ == nullptr; }
    Value* append();
    void readLogicalLine(const std::string& text);
    bool nextKeyword(const char* name, int blockId);
    bool findKeyword(const char* block, const char* name, int k);
    char* _ivalue(const char* block, const char* keyword, int k, int n);

    std::unique_ptr<FILE, FileClose> file_;
    char separator_ = '=';
    int32_t limit_ = 1;
    Value* current_ = nullptr;
    Value* first_ = nullptr;
    int32_t blockCount_ = 0;
    std::deque<Value> nodes_;  ///< owns every node, also of lists that init() has replaced
};

/// Occurrences of `c`.
int S_count(const std::string& text, char c);

/// Appends one physical line, of at most 1023 characters, without its newline. A zero byte ends the
/// line's text; a line that begins with one counts as the end of the file.
/// @return 0, or 1 at the end of the file
int KelGetLine(FILE* file, std::string& line);

}  // namespace kel::detail
