// The version, and the release notes with their irregular entries.
#include "kel_introduct.h"

#include <cstdio>
#include <map>
#include <regex>
#include <string>

#include "files_support.h"
#include "support.h"

namespace {

const std::string kVersion = "5.0.2-CV-4.5.1-im-3.11.0-4";
const std::string kName = "KelImageLib.readme." + kVersion + ".txt";

TEST(Introduct, VersionFillsTwentySevenBytes) {
    test::Guarded buffer(27);
    kel_GetKelImageLibVersion(reinterpret_cast<char*>(buffer.data()));
    EXPECT_STREQ(kVersion.c_str(), reinterpret_cast<char*>(buffer.bytes().data()));
    kel_GetKelImageLibVersion(nullptr);
}

TEST(Introduct, NotesKeepTheirForm) {
    const test::WorkingFolder folder;
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, kel_GenerateKelImageLibReadme());
    EXPECT_EQ("fName[" + kName + "]\n", testing::internal::GetCapturedStdout());
    const test::Bytes bytes = test::fileBytes(kName);
    const std::string notes(bytes.begin(), bytes.end());

    const std::string rule(68, '='), text = "(\\d、.*\n)+";
    const std::regex head(rule + "\n(.+\n){3}" + rule + "\n\n当前版本：" + kVersion +
                          "\n发布时间：2021年01月25日 22:28\n修订内容：\n" + text + "\n" +
                          std::string(56, '-') + "\n历史版本：\n");
    std::smatch match;
    ASSERT_TRUE(std::regex_search(notes, match, head, std::regex_constants::match_continuous));
    std::map<std::string, std::string> dates;
    std::string rest = match.suffix();
    const std::regex release("version:([^发\n]+)(\n?)(发布时间：(.*)\n)?(修订内容：\n)?" + text +
                             "(\n?)");
    while (std::regex_search(rest, match, release, std::regex_constants::match_continuous)) {
        const std::string version = match[1];
        dates[version] = match[4];
        EXPECT_EQ(match[2].length() == 0, version == "5.0.2-CV-3.4.2.1-im-3.11.0-4");
        EXPECT_EQ(!match[5].matched, version == "3.2.1" || version == "3.2.0") << version;
        EXPECT_EQ(match[7].length() == 0, version == "3.8.2.2-CV243") << version;
        rest = std::string(match.suffix());
    }
    EXPECT_EQ("", rest);
    EXPECT_EQ(dates.size(), 26U);
    EXPECT_EQ(dates["3.8.2-CV243"], "2013年01月10日 21:30");  // before an earlier one
    EXPECT_EQ(dates["3.8.2.1-CV243"], "2013年01月03日 10:00");
    EXPECT_EQ(dates["3.4.0"], "2011年03月08日 24:10");
    EXPECT_EQ(dates["3.2.0"], "");
}

TEST(Introduct, FileThatCannotBeWritten) {
    const test::WorkingFolder folder;
    std::filesystem::create_directory(kName);
    testing::internal::CaptureStdout();
    EXPECT_EQ(EOF, kel_GenerateKelImageLibReadme());
    EXPECT_EQ("fName[" + kName + "]\n", testing::internal::GetCapturedStdout());
}

}  // namespace
