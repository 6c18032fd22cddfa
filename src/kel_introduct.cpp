// The library's version and its release notes.
#include "kel_introduct.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "release_notes.h"

namespace {

using kel::kReleases;
using kel::Release;

const char* const kVersion = kReleases[0].version;

void writeRule(FILE* file, char mark, size_t length) {
    std::fprintf(file, "%s\n", std::string(length, mark).c_str());
}

void writeHead(FILE* file) {
    writeRule(file, '=', 68);
    std::fprintf(file, "KelImageLib 图像处理基础库\n");
    std::fprintf(file, "KelImageLib 开发组\n");
    std::fprintf(file, "用于文档和票据扫描图像的读写、二值化、分析、校正和增强。\n");
    writeRule(file, '=', 68);
    std::fprintf(file, "\n");
}

// What follows an entry's version.
void writeChanges(FILE* file, const Release& release) {
    if (release.date) std::fprintf(file, "发布时间：%s\n", release.date);
    if (release.hasHeading) std::fprintf(file, "修订内容：\n");
    std::fprintf(file, "%s%s", release.text, release.endsWithEmptyLine ? "\n" : "");
}

}  // namespace

void kel_GetKelImageLibVersion(char* buffer) {
    if (buffer) std::memcpy(buffer, kVersion, std::strlen(kVersion) + 1);
}

int kel_GenerateKelImageLibReadme() {
    char name[256] = {};
    std::snprintf(name, sizeof name, "KelImageLib.readme.%s.txt", kVersion);
    std::printf("fName[%s]\n", name);
    FILE* const file = std::fopen(name, "w");
    if (!file) return EOF;

    writeHead(file);
    std::fprintf(file, "当前版本：%s\n", kVersion);
    writeChanges(file, kReleases[0]);
    writeRule(file, '-', 56);
    std::fprintf(file, "历史版本：\n");
    for (const Release& release : kReleases) {
        if (&release == kReleases) continue;
        std::fprintf(file, "version:%s%s", release.version, release.versionEndsLine ? "\n" : "");
        writeChanges(file, release);
    }
    return std::fclose(file);
}
