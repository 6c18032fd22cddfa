#include "jp2_header.h"

#include <algorithm>
#include <utility>

#include "byte_reader.h"
#include "error.h"

namespace im {
namespace {

constexpr uint32_t name(const char (&letters)[5]) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<uint8_t>(letters[i]);
    return value;
}

uint32_t dividedUp(uint32_t a, uint32_t b) {
    return static_cast<uint32_t>((uint64_t{a} + b - 1) / b);
}

// ---- Boxes

struct Box {
    uint32_t type;
    uint64_t at, end;  ///< of the contents
};

// The box at `at`, cut to what lies around it.
Box readBox(ByteReader& in, uint64_t at, uint64_t end) {
    in.seek(at);
    uint64_t size = in.u32be();
    const uint32_t type = in.u32be();
    if (size == 1) {
        size = uint64_t{in.u32be()} << 32;
        size |= in.u32be();
    } else if (size == 0) {
        size = end - at;
    }
    require(size >= in.tell() - at, IM_ERR_FORMAT);
    return {type, in.tell(), at + std::min(size, end - at)};
}

/// What the boxes before the codestream say.
struct Container {
    enum Colours { kByCount, kGrey, kRgb, kYcc, kCmyk };
    struct Mapping {
        unsigned component, column;
        bool usesPalette;
    };
    struct Definition {
        unsigned channel, type, place;
    };

    Colours colours = kByCount;
    bool hasColours = false;
    std::vector<int> paletteBits;                 ///< of each column
    std::vector<std::vector<uint16_t>> palettes;  ///< columns
    std::vector<Mapping> mappings;
    std::vector<Definition> definitions;
};

// The first box of colours counts.
void readColours(ByteReader& in, Container& c) {
    if (std::exchange(c.hasColours, true)) return;
    const int method = in.u8();
    in.skip(2);
    if (method == 2) {  // a profile; its header names its space
        in.skip(16);
        if (in.left() >= 4 && in.u32be() == name("CMYK")) c.colours = Container::kCmyk;
        return;
    }
    if (method != 1) return;
    switch (in.u32be()) {
        case 12:
            c.colours = Container::kCmyk;
            return;
        case 16:
            c.colours = Container::kRgb;
            return;
        case 17:
            c.colours = Container::kGrey;
            return;
        case 18:
            c.colours = Container::kYcc;
            return;
        case 14:  // CIELab
        case 24:  // e-sYCC
            fail(IM_ERR_DATA);
        default:
            return;
    }
}

void readPalette(ByteReader& in, Container& c) {
    const int entries = in.u16be();
    const int columns = in.u8();
    require(entries >= 1 && entries <= 1024 && columns >= 1, IM_ERR_FORMAT);
    c.paletteBits.assign(static_cast<size_t>(columns), 0);
    for (int& bits : c.paletteBits) {
        bits = in.u8() + 1;  // the highest bit of the byte would be a sign
        require(bits <= 16, IM_ERR_DATA);
    }
    c.palettes.assign(static_cast<size_t>(columns),
                      std::vector<uint16_t>(static_cast<size_t>(entries)));
    for (size_t entry = 0; entry < static_cast<size_t>(entries); ++entry)
        for (size_t column = 0; column < c.palettes.size(); ++column)
            c.palettes[column][entry] = c.paletteBits[column] > 8 ? in.u16be() : in.u8();
}

void readJp2Superbox(ByteReader& in, const Box& all, Container& c) {
    for (uint64_t at = all.at; at + 8 <= all.end;) {
        const Box box = readBox(in, at, all.end);
        if (box.type == name("colr")) readColours(in, c);
        if (box.type == name("pclr")) readPalette(in, c);
        if (box.type == name("cmap"))
            for (c.mappings.clear(); in.tell() + 4 <= box.end;) {
                const unsigned component = in.u16be();
                const bool usesPalette = in.u8() != 0;
                c.mappings.push_back({component, in.u8(), usesPalette});
            }
        if (box.type == name("cdef")) {
            c.definitions.clear();
            for (unsigned left = in.u16be(); left > 0 && in.tell() + 6 <= box.end; --left) {
                const unsigned channel = in.u16be(), type = in.u16be();
                c.definitions.push_back({channel, type, in.u16be()});
            }
        }
        at = box.end;
    }
}

// Finds the codestream, and what the boxes before it say.
Container readContainer(ByteReader& in, Jp2Header& header) {
    Container c;
    header.codestreamSize = in.size();
    if (in.u16be() == 0xff4f) return c;  // a codestream alone
    for (uint64_t at = 0;;) {
        const Box box = readBox(in, at, in.size());
        if (box.type == name("jp2h")) readJp2Superbox(in, box, c);
        at = box.end;
        if (box.type != name("jp2c")) continue;
        header.codestreamAt = box.at;
        header.codestreamSize = box.end - box.at;
        return c;
    }
}

// ---- The size marker

void readSizes(ByteReader& in, Jp2Header& header) {
    in.seek(header.codestreamAt);
    require(in.u16be() == 0xff4f && in.u16be() == 0xff51, IM_ERR_FORMAT);
    in.skip(4);
    Jp2Grid& g = header.grid;
    for (uint32_t* value : {&g.right, &g.bottom, &g.left, &g.top, &g.tileWidth, &g.tileHeight,
                            &g.tileLeft, &g.tileTop})
        *value = in.u32be();
    require(g.left < g.right && g.top < g.bottom && g.tileWidth > 0 && g.tileHeight > 0,
            IM_ERR_FORMAT);
    require(g.tileLeft <= g.left && g.left - g.tileLeft < g.tileWidth && g.tileTop <= g.top &&
                g.top - g.tileTop < g.tileHeight,
            IM_ERR_FORMAT);

    // Every tile of every component takes memory of the codec, however small it is.
    constexpr size_t mostComponents = 16;
    constexpr uint64_t mostTileComponents = 65535;
    const size_t components = in.u16be();
    require(components >= 1 && components <= mostComponents, IM_ERR_DATA);
    const uint64_t tiles = uint64_t{dividedUp(g.right - g.tileLeft, g.tileWidth)} *
                           dividedUp(g.bottom - g.tileTop, g.tileHeight);
    require(tiles * components <= mostTileComponents, IM_ERR_MEM);

    for (size_t i = 0; i < components; ++i) {
        Jp2Component c;
        const int depth = in.u8();
        c.bits = (depth & 0x7f) + 1;
        c.isSigned = depth > 0x7f;
        c.stepX = in.u8();
        c.stepY = in.u8();
        require(c.stepX > 0 && c.stepY > 0, IM_ERR_FORMAT);
        const uint32_t width = dividedUp(g.right, c.stepX) - dividedUp(g.left, c.stepX);
        const uint32_t height = dividedUp(g.bottom, c.stepY) - dividedUp(g.top, c.stepY);
        require(width > 0 && height > 0, IM_ERR_FORMAT);
        require(width <= 0x7fffffff && height <= 0x7fffffff, IM_ERR_MEM);
        c.width = static_cast<int>(width);
        c.height = static_cast<int>(height);
        header.components.push_back(c);
    }
}

// ---- The kind of the image

// Orders what carries colour; tells whether there is anything else, such as opacity.
std::vector<Jp2Channel> colourChannels(const Container& c, const Jp2Header& header, bool& others) {
    std::vector<Container::Mapping> mappings = c.mappings;
    if (c.palettes.empty() || mappings.empty()) {
        mappings.clear();
        mappings.reserve(header.components.size());
        for (unsigned i = 0; i < header.components.size(); ++i)
            mappings.push_back({i, 0, false});
    }
    std::vector<std::pair<unsigned, Jp2Channel>> placed;
    others = false;
    for (unsigned i = 0; i < mappings.size(); ++i) {
        const Container::Mapping& m = mappings[i];
        require(m.component < header.components.size(), IM_ERR_FORMAT);
        const auto definition =
            std::find_if(c.definitions.begin(), c.definitions.end(),
                         [i](const Container::Definition& d) { return d.channel == i; });
        if (definition != c.definitions.end() && definition->type != 0) {
            others = true;
            continue;
        }
        Jp2Channel channel{m.component, header.components[m.component].bits, {}};
        if (m.usesPalette) {
            require(m.column < c.palettes.size(), IM_ERR_FORMAT);
            channel.palette = c.palettes[m.column];
            channel.bits = c.paletteBits[m.column];
        }
        require(placed.size() < 16, IM_ERR_DATA);
        placed.emplace_back(definition == c.definitions.end() ? i + 1 : definition->place,
                            std::move(channel));
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Jp2Channel> channels;
    channels.reserve(placed.size());
    for (auto& p : placed)
        channels.push_back(std::move(p.second));
    return channels;
}

void chooseKind(const Container& c, Jp2Header& header) {
    bool others = false;
    std::vector<Jp2Channel> channels = colourChannels(c, header, others);
    require(!channels.empty(), IM_ERR_DATA);
    PageInfo& info = header.info;
    info.flags = IM_TOPDOWN;
    if (c.colours == Container::kCmyk && channels.size() >= 4)
        info.colorSpace = IM_CMYK;
    else if (c.colours != Container::kGrey && channels.size() >= 3)
        info.colorSpace = IM_RGB;
    const size_t planes = info.colorSpace == IM_CMYK ? 4 : info.colorSpace == IM_RGB ? 3 : 1;
    if (others || channels.size() > planes) info.flags |= IM_ALPHA;
    channels.resize(planes);

    int bits = 0;
    for (const Jp2Channel& channel : channels) {
        bits = std::max(bits, channel.bits);
        // A sample picks its value from a table.
        require(std::max(channel.bits, header.components[channel.component].bits) <= 16,
                IM_ERR_DATA);
    }
    if (bits == 1 && planes == 1) info.colorSpace = IM_BINARY;
    if (bits > 8) info.dataType = IM_USHORT;

    const Jp2Component& first = header.components[channels[0].component];
    info.width = first.width;
    info.height = first.height;
    // Without a word on colours, three components with subsampled chroma are what they look like.
    header.isYcc =
        planes == 3 && (c.colours == Container::kYcc ||
                        (c.colours == Container::kByCount && header.components.size() == 3 &&
                         first.stepX == first.stepY && header.components[1].stepX != 1));
    header.planes = std::move(channels);
}

// ---- What the codec would be busy with

/// How a component is cut, all sizes as logarithms.
struct Coding {
    int levels = 0;
    int blockWidth = 0, blockHeight = 0;
    uint8_t precincts[33] = {};  ///< by resolution: height in the upper, width in the lower half
};

struct Work {
    uint64_t packets = 0, blocks = 0;
};

/// What the coding markers of one header say.
struct CodingSet {
    bool isChanged = false;
    uint64_t layers = 1;
    std::vector<Coding> components;
};

Coding readCoding(ByteReader& in, bool hasPrecincts) {
    Coding c;
    c.levels = in.u8();
    require(c.levels <= 32, IM_ERR_FORMAT);
    c.blockWidth = in.u8() + 2;
    c.blockHeight = in.u8() + 2;
    require(c.blockWidth + c.blockHeight <= 12, IM_ERR_FORMAT);
    require(in.u8() < 0x40, IM_ERR_COMPRESS);  // bits beyond: another coder (high throughput)
    in.skip(1);
    for (int r = 0; r <= c.levels; ++r)
        c.precincts[r] = hasPrecincts ? in.u8() : 0xff;
    return c;
}

// Reads the markers of the main header or of a tile part, up to the marker `last`.
void readMarkers(ByteReader& in, unsigned last, CodingSet& coding) {
    for (;;) {
        const unsigned marker = in.u16be();
        if (marker == last) return;
        const uint64_t at = in.tell();
        const uint64_t end = at + in.u16be();
        switch (marker) {
            case 0xff52: {  // COD
                const bool hasPrecincts = (in.u8() & 1) != 0;
                in.skip(1);
                coding.layers = in.u16be();
                in.skip(1);
                const Coding all = readCoding(in, hasPrecincts);
                std::fill(coding.components.begin(), coding.components.end(), all);
                coding.isChanged = true;
                break;
            }
            case 0xff53: {  // COC
                const size_t component = in.u8();
                const bool hasPrecincts = (in.u8() & 1) != 0;
                require(component < coding.components.size(), IM_ERR_FORMAT);
                coding.components[component] = readCoding(in, hasPrecincts);
                coding.isChanged = true;
                break;
            }
            case 0xff55:  // TLM
            case 0xff57:  // PLM
            case 0xff58:  // PLT
            case 0xff5c:  // QCD
            case 0xff5d:  // QCC
            case 0xff5e:  // RGN
            case 0xff5f:  // POC
            case 0xff60:  // PPM
            case 0xff61:  // PPT
            case 0xff63:  // CRG
            case 0xff64:  // COM
                break;
            default:  // an extension of the standard; skipping it might skip what the codec reads
                fail(IM_ERR_DATA);
        }
        in.seek(end);
    }
}

// How often 2^part goes into an extent, which has one part at least unless it is empty.
uint64_t partsOf(uint64_t extent, int part) {
    return extent == 0 ? 0 : std::max<uint64_t>(1, extent >> part);
}

// A lower bound for one resolution of a tile. All but the lowest have three bands of half the
// size. Precincts cut code blocks, so that thin ones make very many.
Work workOfResolution(const Coding& c, int r, uint64_t width, uint64_t height) {
    const int precinctWidth = c.precincts[r] & 15, precinctHeight = c.precincts[r] >> 4;
    const int half = r == 0 ? 0 : 1;
    const auto blocks = [&](uint64_t bandWidth, uint64_t bandHeight) {
        return partsOf(bandWidth, std::clamp(precinctWidth - half, 0, c.blockWidth)) *
               partsOf(bandHeight, std::clamp(precinctHeight - half, 0, c.blockHeight));
    };
    Work work;
    work.packets = partsOf(width, precinctWidth) * partsOf(height, precinctHeight);
    if (r == 0) {
        work.blocks = blocks(width, height);
    } else {
        const uint64_t highWidth = width / 2, highHeight = height / 2;
        work.blocks = blocks(highWidth, height - highHeight) +
                      blocks(width - highWidth, highHeight) + blocks(highWidth, highHeight);
    }
    return work;
}

Work workOfTile(const CodingSet& coding, const Jp2Header& header) {
    const Jp2Grid& g = header.grid;
    Work all;
    for (size_t i = 0; i < coding.components.size(); ++i) {
        const Coding& c = coding.components[i];
        const Jp2Component& component = header.components[i];
        const uint64_t width = std::min(g.tileWidth, g.right - g.left) / component.stepX;
        const uint64_t height = std::min(g.tileHeight, g.bottom - g.top) / component.stepY;
        for (int r = 0; r <= c.levels; ++r) {
            const int shift = c.levels - r;
            const Work work = workOfResolution(c, r, std::max<uint64_t>(1, width >> shift),
                                               std::max<uint64_t>(1, height >> shift));
            all.packets += work.packets * coding.layers;
            all.blocks += work.blocks;
        }
    }
    return all;
}

void requireBearable(const Work& work, uint64_t bytes) {
    constexpr uint64_t mostBlocks = 1U << 21;
    require(work.packets <= bytes, IM_ERR_ACCESS);
    require(work.blocks <= mostBlocks, IM_ERR_MEM);
}

}  // namespace

Jp2Header readJp2Header(BinaryFile& file) {
    ByteReader in(file);
    Jp2Header header;
    const Container container = readContainer(in, header);
    readSizes(in, header);
    chooseKind(container, header);
    return header;
}

void checkJp2Work(BinaryFile& codestream, const Jp2Header& header) {
    constexpr unsigned startOfTile = 0xff90, startOfData = 0xff93;
    const Jp2Grid& g = header.grid;
    ByteReader in(codestream);
    in.seek(4);
    in.seek(4 + in.u16be());  // behind the size marker
    CodingSet main;
    main.components.resize(header.components.size());
    readMarkers(in, startOfTile, main);
    const uint64_t wholeTiles = std::max(1U, (g.right - g.left) / g.tileWidth) *
                                uint64_t{std::max(1U, (g.bottom - g.top) / g.tileHeight)};
    Work all = workOfTile(main, header);
    all.packets *= wholeTiles;
    all.blocks *= wholeTiles;
    requireBearable(all, in.size());

    // Tiles may be coded in ways of their own.
    Work own;
    for (;;) {
        const uint64_t start = in.tell() - 2;
        in.skip(4);
        const uint64_t size = in.u32be();
        in.skip(2);
        CodingSet tile = main;
        tile.isChanged = false;
        readMarkers(in, startOfData, tile);
        if (tile.isChanged) {
            const Work more = workOfTile(tile, header);
            own.packets += more.packets;
            own.blocks += more.blocks;
            requireBearable(own, in.size());
        }
        if (size < in.tell() - start) return;  // 0: the last one, to the end
        in.seek(start + size);
        if (in.left() < 12 || in.u16be() != startOfTile) return;
    }
}

}  // namespace im
