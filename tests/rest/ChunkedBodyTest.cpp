#include "ChunkedBody.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace PlatformAbstraction::Rest {
namespace {

using Progress = ChunkedBody::Progress;

constexpr std::size_t kLimit = 8;

struct Outcome {
    Progress progress;
    std::string body;
    std::string rest;
};

Outcome ReadInPieces(std::string_view text, std::size_t pieceSize) {
    ChunkedBody chunks(kLimit);
    Outcome outcome{Progress::Incomplete, "", ""};
    while (!text.empty() && outcome.progress == Progress::Incomplete) {
        std::string_view piece = text.substr(0, pieceSize);
        const std::size_t size = piece.size();
        outcome.progress = chunks.Read(piece, outcome.body);
        text.remove_prefix(size - piece.size());
    }
    outcome.rest = text;
    return outcome;
}

TEST(ChunkedBody, ReadsTheSameWhereverItIsCut) {
    const std::string longExtension =
        "1;" + std::string(ChunkedBody::kMostExtraBytes, 'e') + "\r\na\r\n0\r\n\r\n";
    const struct {
        const char* name;
        std::string text;
        Progress progress;
        const char* body;
    } rows[] = {
        {"nothing", "0\r\n\r\n", Progress::Complete, ""},
        {"one chunk", "3\r\nabc\r\n0\r\n\r\n", Progress::Complete, "abc"},
        {"two chunks up to the limit", "3\r\nabc\r\n05\r\nd\r\ne\n\r\n00\r\n\r\n", Progress::Complete,
         "abcd\r\ne\n"},
        {"extension and trailer", "1;x=\"y\"\r\na\r\n0;z\r\nA: b\r\nC: d\r\n\r\n", Progress::Complete, "a"},
        {"past the limit", "9\r\n", Progress::TooLarge, ""},
        {"past the limit in sum", "5\r\nabcde\r\n4\r\n", Progress::TooLarge, "abcde"},
        {"size past 32 bits", "100000000\r\n", Progress::Malformed, ""},
        {"no size", "\r\n", Progress::Malformed, ""},
        {"signed size", "+1\r\n", Progress::Malformed, ""},
        {"prefixed size", "0x1\r\n", Progress::Malformed, ""},
        {"blank behind the size", "1 \r\na\r\n", Progress::Malformed, ""},
        {"bare LF behind the size", "1\na\r\n", Progress::Malformed, ""},
        {"bare LF in an extension", "1;a\nb\r\n", Progress::Malformed, ""},
        {"CR alone", "1\rX", Progress::Malformed, ""},
        {"chunk longer than its size", "1\r\nab\r\n", Progress::Malformed, "a"},
        {"bare LF behind the chunk", "1\r\na\n0\r\n\r\n", Progress::Malformed, "a"},
        {"bare LF at the end", "0\r\n\n", Progress::Malformed, ""},
        {"folded trailer", "0\r\nA: b\r\n c\r\n\r\n", Progress::Malformed, ""},
        {"endless extension", longExtension, Progress::Malformed, ""},
        {"endless trailer", "0\r\n" + std::string(ChunkedBody::kMostExtraBytes + 1, 't'), Progress::Malformed,
         ""},
        {"unfinished", "3\r\nab", Progress::Incomplete, "ab"},
    };
    for (const auto& row : rows) {
        const std::string next = row.progress == Progress::Complete ? "GET /next" : "";
        for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{2}, std::size_t{100000}}) {
            const Outcome outcome = ReadInPieces(row.text + next, pieceSize);
            EXPECT_EQ(outcome.progress, row.progress) << row.name << " in pieces of " << pieceSize;
            EXPECT_EQ(outcome.body, row.body) << row.name << " in pieces of " << pieceSize;
            if (row.progress == Progress::Complete) {
                EXPECT_EQ(outcome.rest, next) << row.name << " in pieces of " << pieceSize;
            }
        }
    }
}

}  // namespace
}  // namespace PlatformAbstraction::Rest
