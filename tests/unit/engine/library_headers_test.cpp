#include "engine/image_headers/library_headers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <istream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "images.h"

namespace {

using hvq::util::HasLibraryHeaders;
using images::DosHeader;
using platform::ImageFormat;

// A file that may be large and is zero where nothing was put; it can refuse to be measured, moved about in or read.
class Source : public std::streambuf {
 public:
    explicit Source(std::string beginning) : m_size(static_cast<off_type>(beginning.size())) {
        m_pieces.emplace_back(0, std::move(beginning));
    }

    void Put(off_type at, std::string bytes) {
        m_size = std::max(m_size, at + static_cast<off_type>(bytes.size()));
        m_pieces.emplace_back(at, std::move(bytes));
    }

    void SetSize(off_type size) { m_size = size; }

    // Called before each move, with where to.
    std::function<bool(off_type to, std::ios::seekdir from)> mayMove = [](auto, auto) { return true; };
    // Called before each read of a byte; may throw.
    std::function<bool(off_type at)> mayRead = [](auto) { return true; };

 protected:
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override {
        if (!mayMove(offset, from)) return pos_type(off_type(-1));
        const off_type base = from == std::ios::beg ? 0 : from == std::ios::cur ? m_at : m_size;
        m_at = base + offset;
        return pos_type(m_at);
    }

    pos_type seekpos(pos_type position, std::ios::openmode which) override {
        return seekoff(off_type(position), std::ios::beg, which);
    }

    int_type underflow() override { return Peek(); }

    int_type uflow() override {
        const int_type value = Peek();
        if (value != traits_type::eof()) ++m_at;
        return value;
    }

    std::streamsize xsgetn(char* bytes, std::streamsize count) override {
        std::streamsize done = 0;
        for (; done < count; ++done) {
            const int_type value = uflow();
            if (value == traits_type::eof()) break;
            bytes[done] = traits_type::to_char_type(value);
        }
        return done;
    }

 private:
    int_type Peek() const {
        if (m_at >= m_size || !mayRead(m_at)) return traits_type::eof();
        for (const auto& [begin, bytes] : m_pieces) {
            if (m_at >= begin && m_at < begin + static_cast<off_type>(bytes.size())) {
                return traits_type::to_int_type(bytes[static_cast<std::size_t>(m_at - begin)]);
            }
        }
        return traits_type::to_int_type('\0');
    }

    std::vector<std::pair<off_type, std::string>> m_pieces;
    off_type m_size;
    off_type m_at = 0;
};

bool Judge(Source& source, ImageFormat native = ImageFormat::Pe) {
    std::istream stream(&source);
    return HasLibraryHeaders(stream, native);
}

bool Judge(const std::string& bytes, ImageFormat native = ImageFormat::Pe) {
    Source source(bytes);
    return Judge(source, native);
}

// The 24 bytes that are looked at where the NT headers begin.
std::string NtHeaders() {
    std::string bytes(24, '\0');
    images::PutNtHeaders(bytes, 0, images::kPeAmd64, images::kDll);
    return bytes;
}

TEST(LibraryHeaders, AreThoseOfALibraryForWindowsWhateverTheMachine) {
    EXPECT_TRUE(Judge(images::Pe()));
    EXPECT_TRUE(Judge(images::Pe(0x014C)));
    EXPECT_TRUE(Judge(images::Pe(0)));
}

TEST(LibraryHeaders, NeedNoMoreBytesThanAreLookedAt) {
    EXPECT_TRUE(Judge(images::Pe().substr(0, 64 + 24)));
    EXPECT_FALSE(Judge(images::Pe().substr(0, 64 + 23)));
}

TEST(LibraryHeaders, AreInNoFileOf67Bytes) {
    // The signature may lie inside the first header, so 67 bytes hold everything but the last header.
    std::string bytes(67, '\0');
    images::Put16(bytes, 0, 0x5A4D);
    images::Put32(bytes, 60, 4);
    images::PutNtHeaders(bytes, 4, images::kPeAmd64, images::kDll);
    EXPECT_FALSE(Judge(bytes));
    EXPECT_TRUE(Judge(bytes + "x"));
    EXPECT_FALSE(Judge(""));
}

TEST(LibraryHeaders, OfAFileOf68BytesEndBeforeTheyAreWhole) {
    EXPECT_FALSE(Judge(images::Pe().substr(0, 68)));
}

TEST(LibraryHeaders, BeginWithTheirMark) {
    std::string bytes = images::Pe();
    images::Put16(bytes, 0, 0x4D5A);
    EXPECT_FALSE(Judge(bytes));
    EXPECT_FALSE(Judge(std::string(200, 'x')));
    EXPECT_FALSE(Judge(std::string(200, '\0')));
}

TEST(LibraryHeaders, AreNotSoughtBeforeTheFile) {
    std::string bytes = images::Pe();
    images::Put32(bytes, 60, 0xFFFFFFFF);
    EXPECT_FALSE(Judge(bytes));
    images::Put32(bytes, 60, 0x80000000);
    EXPECT_FALSE(Judge(bytes));
}

TEST(LibraryHeaders, MayBeginWithTheFileItself) {
    std::string bytes(100, '\0');
    images::Put16(bytes, 0, 0x5A4D);
    images::Put32(bytes, 60, 0);

    EXPECT_FALSE(Judge(bytes)) << "the mark of the file is no signature";
}

TEST(LibraryHeaders, MayBeginAtTheLastPlaceThatIsSaneAndNotBehind) {
    Source last(DosHeader(0x10000000));
    last.Put(0x10000000, NtHeaders());
    EXPECT_TRUE(Judge(last));

    Source behind(DosHeader(0x10000001));
    behind.Put(0x10000001, NtHeaders());
    EXPECT_FALSE(Judge(behind));
}

TEST(LibraryHeaders, HaveTheirSignatureInsideTheFile) {
    Source tooShort(DosHeader(200));
    tooShort.Put(200, NtHeaders());
    tooShort.SetSize(203);
    bool moved = false;
    tooShort.mayMove = [&](auto to, auto) {
        if (to == 200) moved = true;
        return true;
    };
    EXPECT_FALSE(Judge(tooShort));
    EXPECT_FALSE(moved) << "it is known before anything is read there";

    Source atTheEnd(DosHeader(200));
    atTheEnd.SetSize(200);
    EXPECT_FALSE(Judge(atTheEnd));

    Source signatureOnly(DosHeader(200));
    signatureOnly.Put(200, NtHeaders());
    signatureOnly.SetSize(204);
    EXPECT_FALSE(Judge(signatureOnly)) << "the header behind it is missing";
}

TEST(LibraryHeaders, HaveTheRightSignature) {
    std::string bytes = images::Pe();
    images::Put32(bytes, 64, 0x00014550);
    EXPECT_FALSE(Judge(bytes));
    images::Put32(bytes, 64, 0x0000454E);
    EXPECT_FALSE(Judge(bytes));
}

TEST(LibraryHeaders, OfAProgramAreNoneOfALibrary) {
    EXPECT_FALSE(Judge(images::Pe(images::kPeAmd64, 0x0002)));
    EXPECT_FALSE(Judge(images::Pe(images::kPeAmd64, 0xDFFF)));
    EXPECT_TRUE(Judge(images::Pe(images::kPeAmd64, 0xFFFF)));
}

TEST(LibraryHeaders, OfAFileThatCannotBeMeasuredAreNone) {
    Source source(images::Pe());
    source.mayMove = [](auto, auto from) { return from != std::ios::end; };
    EXPECT_FALSE(Judge(source));

    Source unknown(images::Pe());
    unknown.mayMove = [](auto, auto from) { return from != std::ios::cur; };
    EXPECT_FALSE(Judge(unknown));
}

TEST(LibraryHeaders, OfAFileThatCannotBeMovedAboutInAreNone) {
    Source back(images::Pe());
    back.mayMove = [](auto to, auto from) { return to != 0 || from != std::ios::beg; };
    EXPECT_FALSE(Judge(back));

    Source forth(images::Pe());
    forth.mayMove = [](auto to, auto from) { return to != 64 || from != std::ios::beg; };
    EXPECT_FALSE(Judge(forth));
}

TEST(LibraryHeaders, OfAFileThatCannotBeReadAreNone) {
    for (const int bad : {0, 63, 64, 67, 68, 87}) {
        Source ending(images::Pe());
        ending.mayRead = [bad](auto at) { return at != bad; };
        EXPECT_FALSE(Judge(ending)) << bad;

        Source throwing(images::Pe());
        throwing.mayRead = [bad](auto at) {
            if (at == bad) throw std::runtime_error("disk");
            return true;
        };
        EXPECT_FALSE(Judge(throwing)) << bad;
    }
    Source behind(images::Pe());
    behind.mayRead = [](auto at) { return at != 88; };
    EXPECT_TRUE(Judge(behind));
}

TEST(LibraryHeaders, OfLinuxCountOnlyWhereTheyAreNative) {
    EXPECT_TRUE(Judge(images::Elf(), ImageFormat::Elf));
    EXPECT_FALSE(Judge(images::Elf(), ImageFormat::Pe));
}

TEST(LibraryHeaders, OfWindowsCountEverywhere) {
    EXPECT_TRUE(Judge(images::Pe(), ImageFormat::Elf));
    EXPECT_FALSE(Judge(images::Pe(images::kPeAmd64, 0), ImageFormat::Elf));
}

TEST(LibraryHeaders, OfLinuxHaveTheSameSmallestFile) {
    EXPECT_TRUE(Judge(images::Elf().substr(0, 68), ImageFormat::Elf));
    EXPECT_FALSE(Judge(images::Elf().substr(0, 67), ImageFormat::Elf));
}

TEST(LibraryHeaders, OfLinuxAreThoseOfASharedObjectWhateverTheMachine) {
    EXPECT_TRUE(Judge(images::Elf(183), ImageFormat::Elf));
    EXPECT_TRUE(Judge(images::Elf(0), ImageFormat::Elf));
    EXPECT_FALSE(Judge(images::Elf(images::kElfAmd64, 2), ImageFormat::Elf)) << "a program";
    EXPECT_FALSE(Judge(images::Elf(images::kElfAmd64, 1), ImageFormat::Elf)) << "an object file";
}

TEST(LibraryHeaders, OfLinuxAre64BitsWideAndLittleEndian) {
    std::string bytes = images::Elf();
    bytes[4] = 1;
    EXPECT_FALSE(Judge(bytes, ImageFormat::Elf));
    bytes = images::Elf();
    bytes[5] = 2;
    EXPECT_FALSE(Judge(bytes, ImageFormat::Elf));
    bytes = images::Elf();
    bytes[0] = 0x7E;
    EXPECT_FALSE(Judge(bytes, ImageFormat::Elf));
    bytes = images::Elf();
    bytes[3] = 'E';
    EXPECT_FALSE(Judge(bytes, ImageFormat::Elf));
}

}  // namespace
