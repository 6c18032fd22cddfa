// LED: a palette and indexes as text, the top row first:
//
//   name = IMAGE[
//    0 = "255 255 255",
//    1 = "0 0 0"
//   ](width, height,
//    0,1,1,0,
//    ...)
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"

namespace im {
namespace {

constexpr size_t kLongestLine = 80;

bool isSpace(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(int c) {
    return c >= '0' && c <= '9';
}

bool isWordLetter(int c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' ||
           c == '.';
}

/// The tokens of a file, one letter ahead. What is not the expected one throws IM_ERR_ACCESS, as
/// the end of the file does.
class Tokens {
  public:
    explicit Tokens(BinaryFile& file) : in_(file) { advance(); }

    /// The first letter of the next token.
    int next() {
        while (isSpace(letter_))
            advance();
        require(letter_ != kEnd, IM_ERR_ACCESS);
        return letter_;
    }

    bool takes(char mark) {
        if (next() != mark) return false;
        advance();
        return true;
    }

    void expect(char mark) { require(takes(mark), IM_ERR_ACCESS); }

    int number(int most) {
        require(isDigit(next()), IM_ERR_ACCESS);
        int value = 0;
        for (; isDigit(letter_); advance()) {
            require(value <= (most - (letter_ - '0')) / 10, IM_ERR_ACCESS);
            value = 10 * value + (letter_ - '0');
        }
        return value;
    }

    std::string word() {
        constexpr size_t longest = 256;
        std::string text;
        for (next(); isWordLetter(letter_) && text.size() < longest; advance())
            text.push_back(static_cast<char>(letter_));
        return text;
    }

    /// Place of the letter ahead, to return to.
    uint64_t tell() const { return in_.tell() - 1; }
    uint64_t left() const { return in_.left() + 1; }
    void seek(uint64_t place) {
        in_.seek(place);
        advance();
    }

  private:
    static constexpr int kEnd = -1;

    void advance() { letter_ = in_.left() > 0 ? in_.u8() : kEnd; }

    ByteReader in_;
    int letter_ = kEnd;
};

// Up to the bracket before the palette.
void readStart(Tokens& in) {
    std::string word = in.word();
    if (!word.empty() && in.takes('=')) word = in.word();
    require(sameName(word.c_str(), "IMAGE"), IM_ERR_ACCESS);
    in.expect('[');
    require(isDigit(in.next()), IM_ERR_ACCESS);
}

class LedReader : public Reader {
  public:
    explicit LedReader(BinaryFile& file) : in_(file) {
        constexpr int longestSide = 1 << 30;
        readStart(in_);
        readPalette();
        kind_ = kindOfPalette(colors_, colorCount_);
        info_.colorSpace = kind_.colorSpace;
        info_.flags = IM_TOPDOWN;
        in_.expect('(');
        info_.width = in_.number(longestSide);
        in_.expect(',');
        info_.height = in_.number(longestSide);
        in_.next();
        dataAt_ = in_.tell();
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        in_.seek(dataAt_);
        checkPage(info_, in_.left(), 0.5);  // a comma and a digit each
        return info_;
    }

    void readPage(int, imImage& image) override {
        if (image.color_space == IM_MAP) setPalette(image, colors_, colorCount_);
        in_.seek(dataAt_);
        for (int y = 0; y < image.height; ++y) {
            uint8_t* const to = rowFromTop(image, 0, y);
            for (int x = 0; x < image.width; ++x) {
                in_.expect(',');
                const int index = in_.number(255);
                to[x] = static_cast<uint8_t>(index);
                if (image.color_space == IM_BINARY) to[x] = index == (kind_.flipBit ^ 1) ? 1 : 0;
            }
        }
        in_.expect(')');
    }

    std::string compression() override { return "NONE"; }

  private:
    void readPalette() {
        for (int entries = 0; !in_.takes(']'); ++entries) {
            require(entries < 256, IM_ERR_ACCESS);
            const int index = in_.number(255);
            in_.expect('=');
            in_.expect('"');
            imPaletteColor& color = colors_[index];
            for (unsigned char* part : {&color.red, &color.green, &color.blue})
                *part = static_cast<unsigned char>(in_.number(255));
            in_.expect('"');
            in_.takes(',');
            colorCount_ = std::max(colorCount_, index + 1);
        }
    }

    Tokens in_;
    PageInfo info_;
    uint64_t dataAt_ = 0;  ///< behind the height
    PaletteKind kind_{};
    imPaletteColor colors_[256] = {};
    int colorCount_ = 0;
};

class LedWriter : public Writer {
  public:
    explicit LedWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&, const Attributes&) override {
        ByteWriter out(file_);
        writePalette(image, out);
        out.text("](" + std::to_string(image.width) + ", " + std::to_string(image.height) + ",\n");
        std::string numbers[256];
        for (int i = 0; i < 256; ++i)
            numbers[i] = std::to_string(i) + ",";
        for (int y = 0; y < image.height; ++y)
            writeRow(rowFromTop(image, 0, y), image.width, numbers, y == image.height - 1, out);
        out.flush();
    }

  private:
    static void writePalette(const imImage& image, ByteWriter& out) {
        imPaletteColor colors[256];
        const int count = paletteFor(image, colors);
        out.text("LEDImage = IMAGE[\n");
        for (int i = 0; i < count; ++i) {
            char entry[40];
            std::snprintf(entry, sizeof entry, " %d = \"%d %d %d\"%s\n", i, colors[i].red,
                          colors[i].green, colors[i].blue, i + 1 < count ? "," : "");
            out.text(entry);
        }
    }

    // Each row starts a line; `numbers` have their comma.
    static void writeRow(const uint8_t* row, int width, const std::string* numbers, bool isLast,
                         ByteWriter& out) {
        std::string line = " ";
        for (int x = 0; x < width; ++x) {
            const std::string& number = numbers[row[x]];
            if (line.size() + number.size() > kLongestLine) {
                out.text(line += '\n');
                line = " ";
            }
            line += number;
        }
        if (isLast) line.back() = ')';
        out.text(line += '\n');
    }

    BinaryFile& file_;
};

bool probe(Bytes, BinaryFile& file) {
    const auto head = partOf(file, 0, kHeadBytes);
    try {
        Tokens in(*head);
        readStart(in);
        return true;
    } catch (const Error&) {
        return false;
    }
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_RGB || colorSpace == IM_CMYK ? static_cast<int>(IM_MAP) : colorSpace;
}

}  // namespace

const Format kLed = {
    "LED",
    "Palette and indexes as text",
    "*.led",
    {"NONE"},
    false,
    probe,
    openAs<LedReader>,
    createAs<LedWriter>,
    storedSpace,
};

}  // namespace im
