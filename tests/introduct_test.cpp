// The version, and the release notes with their irregular entries.
#include "kel_introduct.h"

#include <cstdio>
#include <regex>
#include <string>

#include "files_support.h"
#include "support.h"

namespace {

const std::string kVersion = "5.0.2-CV-4.5.1-im-3.11.0-4";
const std::string kName = "KelImageLib.readme." + kVersion + ".txt";

// Each release and its date, as the file must list them; "-" for none.
const char* const kListed =
    "5.0.2-CV-3.4.2.1-im-3.11.0-4 2019年06月11日 13:30\n5.0.1-CV-3.2.0-im-3.11.0-2 2018年09月13日 "
    "12:30\n"
    "5.0.0-CV-3.2.0-im-3.11.0-1 2017年06月13日 16:00\n4.3.2-CV-3.2.0-im-3.11.0-1 2017年06月01日 "
    "12:30\n"
    "4.3.0-CV-2.4.13-im-3.11.0-1 2016年11月10日 19:00\n4.3.0-CV243-im-3.11.0-1 2016年11月09日 "
    "20:50\n"
    "4.2.1-CV243 2016年05月05日 17:00\n4.2.0-CV243 2015年01月15日 11:20\n"
    "4.1.0-CV243 2014年09月10日 11:24\n4.0.0-CV243 2014年07月17日 19:00\n"
    "3.9.0-CV243 2014年07月10日 21:30\n3.8.3-CV243 2014年06月26日 17:00\n"
    "3.8.2.4-CV243 2014年05月06日 14:30\n3.8.2.3-CV243 2013年12月19日 14:30\n"
    "3.8.2.2-CV243 2013年11月02日 18:30\n3.8.2.1-CV243 2013年01月03日 10:00\n"
    "3.8.2-CV243 2013年01月10日 21:30\n3.8.1 2013年01月03日 10:00\n3.8.0 2012年07月13日 13:00\n"
    "3.7.0 2012年06月05日 17:00\n3.6.0 2012年03月26日 14:00\n3.5.0 2011年06月30日 10:10\n"
    "3.4.0 2011年03月08日 24:10\n3.3.0 2011年03月08日 24:10\n3.2.1 2011年03月07日 23:00\n3.2.0 -\n";

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
    std::string listed, rest = match.suffix();
    const std::regex release("version:([^发\n]+)(\n?)(发布时间：(.*)\n)?(修订内容：\n)?" + text +
                             "(\n?)");
    while (std::regex_search(rest, match, release, std::regex_constants::match_continuous)) {
        const std::string version = match[1];
        listed += version + " " + (match[3].matched ? match[4].str() : "-") + "\n";
        EXPECT_EQ(match[2].length() == 0, version == "5.0.2-CV-3.4.2.1-im-3.11.0-4");
        EXPECT_EQ(!match[5].matched, version == "3.2.1" || version == "3.2.0") << version;
        EXPECT_EQ(match[7].length() == 0, version == "3.8.2.2-CV243") << version;
        rest = std::string(match.suffix());
    }
    EXPECT_EQ(listed, kListed);
    EXPECT_EQ("", rest);
}

TEST(Introduct, FileThatCannotBeWritten) {
    const test::WorkingFolder folder;
    std::filesystem::create_directory(kName);
    testing::internal::CaptureStdout();
    EXPECT_EQ(EOF, kel_GenerateKelImageLibReadme());
    EXPECT_EQ("fName[" + kName + "]\n", testing::internal::GetCapturedStdout());
}

}  // namespace
