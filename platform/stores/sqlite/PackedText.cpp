#include "platform/stores/sqlite/PackedText.h"

#include <zstd.h>

#include <new>
#include <utility>

namespace CommonServices::Sqlite {

using PlatformAbstraction::MutexLock;

namespace {

constexpr int kLevel = 1;
// Shorter ones lie in one page with others anyway, and are read in great numbers: formats, hits of a query.
constexpr std::size_t kShortestPacked = 512;
// As many threads as pack at the same moment, where they do it quickly; a further one makes its own.
constexpr std::size_t kMostWorkspaces = 8;
// What texts of the usual size want is a tenth of this; what a huge one grew to goes with it.
constexpr std::size_t kLargestKept = std::size_t{1} << 20;

// A block is at least four bytes and at most this much text, so no frame holds more; nor does a column.
constexpr std::uint64_t kMostTextPerByte = ZSTD_BLOCKSIZE_MAX / 4;
constexpr std::uint64_t kMostText = 1'000'000'000;

struct FreeContext {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

template <typename Object>
Object* OrNoMemory(Object* made) {
    if (made == nullptr) {
        throw std::bad_alloc();
    }
    return made;
}

}  // namespace

struct TextPacker::Workspace {
    std::unique_ptr<ZSTD_CCtx, FreeContext> context{OrNoMemory(ZSTD_createCCtx())};
    std::string frame;
};

void TextPacker::Free::operator()(ZSTD_CDict_s* dictionary) const {
    ZSTD_freeCDict(dictionary);
}

TextPacker::TextPacker(const PackDictionary& dictionary)
    : m_pDictionary(OrNoMemory(ZSTD_createCDict(dictionary.bytes.data(), dictionary.bytes.size(), kLevel))) {
    const MutexLock lock(m_mutex);
    m_free.reserve(kMostWorkspaces);
}

TextPacker::~TextPacker() = default;

std::string TextPacker::Pack(const std::string& text) {
    if (text.size() < kShortestPacked || text.size() > kMostText) {
        return {};
    }
    std::unique_ptr<Workspace> workspace = TakeWorkspace();
    workspace->frame.resize(ZSTD_compressBound(text.size()));
    const std::size_t size =
        ZSTD_compress_usingCDict(workspace->context.get(), workspace->frame.data(), workspace->frame.size(),
                                 text.data(), text.size(), m_pDictionary.get());
    const bool gains = ZSTD_isError(size) == 0 && size <= text.size() - text.size() / 8;
    std::string frame = gains ? workspace->frame.substr(0, size) : std::string();
    GiveBack(std::move(workspace));
    return frame;
}

// The one used last, whose memory is still near.
std::unique_ptr<TextPacker::Workspace> TextPacker::TakeWorkspace() {
    {
        const MutexLock lock(m_mutex);
        if (!m_free.empty()) {
            std::unique_ptr<Workspace> workspace = std::move(m_free.back());
            m_free.pop_back();
            return workspace;
        }
    }
    return std::make_unique<Workspace>();
}

void TextPacker::GiveBack(std::unique_ptr<Workspace> workspace) {
    if (ZSTD_sizeof_CCtx(workspace->context.get()) + workspace->frame.capacity() > kLargestKept) {
        return;
    }
    const MutexLock lock(m_mutex);
    if (m_free.size() < kMostWorkspaces) {
        m_free.push_back(std::move(workspace));
    }
}

TextUnpacker::TextUnpacker() = default;
TextUnpacker::~TextUnpacker() = default;

void TextUnpacker::Free::operator()(ZSTD_DCtx_s* context) const {
    ZSTD_freeDCtx(context);
}

void TextUnpacker::Free::operator()(ZSTD_DDict_s* dictionary) const {
    ZSTD_freeDDict(dictionary);
}

std::optional<std::string> TextUnpacker::Unpack(std::string_view frame) {
    const std::uint64_t length = ZSTD_getFrameContentSize(frame.data(), frame.size());
    if (length == ZSTD_CONTENTSIZE_UNKNOWN || length == ZSTD_CONTENTSIZE_ERROR || length > kMostText ||
        length / kMostTextPerByte > frame.size()) {
        return std::nullopt;
    }
    const std::uint32_t number = ZSTD_getDictID_fromFrame(frame.data(), frame.size());
    const ZSTD_DDict* const dictionary = number == 0 ? nullptr : DictionaryOf(number);
    if (number != 0 && dictionary == nullptr) {
        return std::nullopt;
    }
    if (m_pContext == nullptr) {
        m_pContext.reset(OrNoMemory(ZSTD_createDCtx()));
    }
    std::string text(length, '\0');
    const std::size_t size = ZSTD_decompress_usingDDict(m_pContext.get(), text.data(), text.size(),
                                                        frame.data(), frame.size(), dictionary);
    if (ZSTD_isError(size) != 0 || size != length) {
        return std::nullopt;
    }
    return text;
}

const ZSTD_DDict_s* TextUnpacker::DictionaryOf(std::uint32_t number) {
    const auto known = m_dictionaries.find(number);
    if (known != m_dictionaries.end()) {
        return known->second.get();
    }
    const std::optional<std::string> bytes = FindDictionary(number);
    if (!bytes || ZSTD_getDictID_fromDict(bytes->data(), bytes->size()) != number) {
        return nullptr;
    }
    std::unique_ptr<ZSTD_DDict_s, Free> made(ZSTD_createDDict(bytes->data(), bytes->size()));
    return made == nullptr ? nullptr : m_dictionaries.emplace(number, std::move(made)).first->second.get();
}

}  // namespace CommonServices::Sqlite
