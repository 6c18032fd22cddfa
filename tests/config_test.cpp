// The reader of configuration files.
#include "ConfigFile.h"

#include <gtest/gtest.h>

#include <fstream>

#include "scratch.h"

using kel::detail::Config;

namespace {

/// A file of that content in the tests' folder.
std::string fileOf(const std::string& content) {
    std::string name = test::scratchPath("values.cfg");
    std::ofstream(name, std::ios::binary) << content;
    return name;
}

/// Every keyword with its values: "key=value|value;". The value walk goes over block nodes, so a
/// block's name shows behind the last value before it.
std::string listOf(const std::string& content, char separator = '=', int limit = 1) {
    Config config(fileOf(content).c_str(), separator, limit);
    std::string list;
    for (int k = 1; config.keyword(k) != nullptr; ++k) {
        list += config.keyword(k);
        for (int n = 1; config.ivalue(k, n) != nullptr; ++n)
            list += (n == 1 ? "=" : "|") + std::string(config.ivalue(k, n));
        list += ';';
    }
    return list;
}

TEST(ConfigFile, Grammar) {
    const std::string longText(1030, 'x');
    const struct {
        std::string content, list;
        char separator = '=';
        int limit = 1;
    } cases[] = {
        {"", ""},
        {" \t COLOR\t=12\r\n", "COLOR=12;"},
        {"NAME = \"a b\"\nOTHER = \" a b \"", "NAME=a b;OTHER= a b ;"},
        {"NAME = \"a#b\"\n", "NAME=\"a;"},
        {"NAME = \"\nA = \"\"\nB=\"\"\"\"", "NAME=;A=;B=\"\";"},
        {"\"a = b\"\n\"\" c=d \"\"", "a=b;c=d;"},
        {"ab=1\\\n23\n", "ab=123;"},
        {"ab=1\\  # goes on\n   2\\\n\\\n3\ncd=4", "ab=123;cd=4;"},
        {"a\\\nb=c\n", "b=c;"},  // too short to go on
        {"a=\\\nb=c\nd=5\n", "a=b=c;d=5;"},
        {"ab=1\\\n", ""},  // the file ends in it
        {"ab=1\nab=2\\", "ab=1;"},
        {"a=\nab=\n=x\n===\nnone\nb=\\", "ab=;"},
        {"k = 1 = 2 = 3 = 4", "k=1|2|3 = 4;", '=', 3},
        {"k = 1\nj==2", "k=1;j=|2;", '=', 3},
        {"k = 1=2", "k=1=2;", '=', -4},
        {"k:1:2=3", "k=1|2=3;", ':', 2},
        {"[A]\nk=1\n[]\nj=2\n[ B ]\n[A]\ni=3", "k=1;j=2| B |A;i=3;"},
        {"\"\r=1\"\nk=1", "k=1;"},
        {std::string("ab\0=\ncd=1\0#2\nef=3\n\0gh=4\nij=5", 29), "cd=1;ef=3;"},
        // Pieces of 1023 characters are lines of their own.
        {longText + "=5\n", "xxxxxxx=5;"},
        {"k=" + std::string(1019, 'y') + "\\\\\\z\n", "k=" + std::string(1019, 'y') + "\\\\z;"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(listOf(c.content, c.separator, c.limit), c.list) << c.content;
}

TEST(ConfigFile, Lookups) {
    Config config(fileOf("top=0\n[A]\nk=1=2\nj=3\n[B]\nk=4\n[A]\nk=5\nz=6=7=8\n").c_str(), 2);
    const auto texts = [](std::initializer_list<const char*> values) {
        std::string all;
        for (const char* value : values)
            all += value != nullptr ? std::string(value) + ' ' : "- ";
        return all;
    };
    EXPECT_EQ(texts({config("k", 1), config.value("k", 2), config("k", 3), config("A", "j", 1),
                     config.value("B", "k", 1), config("A", "z", 1), config("B", "j", 1),
                     config("C", "k", 1), config.ivalue(4, 1), config.ivalue("A", 2, 1)}),
              "1 2 - 3 4 - - - 4 3 ");
    EXPECT_EQ(texts({config.ivalue("A", 3, 1), config.ivalue("A", "k", 2, 1),
                     config.ivalue(nullptr, "k", 3, 1), config.ivalue(nullptr, nullptr, 1, 1),
                     config.ivalue(nullptr, 6, 2), config.keyword(6)}),
              "- - 5 0 7=8 z ");
    EXPECT_STREQ(config("j", 2), "B");  // the next block counts as a value
    for (char* none : {config(nullptr, 1), config("k", 0), config("K", 1), config("A", nullptr, 1),
                       config.ivalue(0, 1), config.ivalue(7, 1), config.keyword(0),
                       config.keyword(7), config.ivalue(1, -1)})
        EXPECT_EQ(none, nullptr);

    config("top", 1);
    EXPECT_EQ(config.search_block("A"), 1);
    EXPECT_STREQ(config.search_value(0), "A");
    config("A", "j", 1);  // behind the first block of the name
    EXPECT_EQ(config.search_block("A"), 3);
    EXPECT_EQ(config.search_block("B"), 0);
    EXPECT_STREQ(config.search_value(0), "");
    EXPECT_EQ(config.search_value(1), nullptr);
}

TEST(ConfigFile, FilesThatAreNone) {
    for (const char* name : {"/nonexistent/config.cfg", static_cast<const char*>(nullptr), ""}) {
        try {
            Config config(name, 1);
            ADD_FAILURE();
        } catch (const char* text) {
            EXPECT_STREQ(text, "File Open Error");
        }
    }
    Config folder(::testing::TempDir().c_str(), 1), config(fileOf("k=1\n").c_str(), 1);
    EXPECT_EQ(folder("k", 1), nullptr);
    EXPECT_EQ(folder.search_value(1), nullptr);
    char* const before = config("k", 1);
    EXPECT_THROW(config.init("/nonexistent", '=', 1), const char*);
    EXPECT_EQ(config("k", 1), before);
    EXPECT_EQ(config.init(fileOf("j:2\n").c_str(), ':', 1), 0);
    EXPECT_EQ(config("k", 1), nullptr);
    EXPECT_STREQ(config("j", 1), "2");
    EXPECT_STREQ(before, "1");
}

// Work in proportion to the size, whatever the lines look like.
TEST(ConfigFile, LongLines) {
    constexpr size_t kBytes = 10 << 20;
    std::string joined = "k=", stripped(1 << 20, '"');
    while (joined.size() < kBytes)
        joined += std::string(1000, 'v') + "\\\n";
    for (size_t i = 1022; i < stripped.size(); i += 1024)
        stripped.replace(i, 2, "\\\n");
    while (stripped.size() < kBytes)
        stripped += "\\\"\n";
    EXPECT_EQ(listOf(std::string(kBytes, '=')), "");
    EXPECT_EQ(listOf(std::string(kBytes, '\\')), "");
    EXPECT_EQ(listOf(joined + "\n").size(), 1000 * (joined.size() / 1002) + 3);
    listOf(stripped);
}

}  // namespace
