#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/concurrency/Mutex.h"

struct ZSTD_CDict_s;
struct ZSTD_DCtx_s;
struct ZSTD_DDict_s;

namespace CommonServices::Sqlite {

/// What texts are packed against: the parts that they have in common, found in many of them beforehand. Its
/// number, which stands in each frame that was packed with it, names these bytes for good.
struct PackDictionary {
    std::uint32_t number = 0;
    std::string_view bytes;
};

/// The dictionary that this program packs with, in static storage.
PackDictionary OwnDictionary();

/// Packs texts into zstd frames, each with its length and the number of its dictionary. Any thread may call.
class TextPacker {
public:
    /// The bytes are copied.
    explicit TextPacker(const PackDictionary& dictionary);
    TextPacker(const TextPacker&) = delete;
    TextPacker& operator=(const TextPacker&) = delete;
    ~TextPacker();

    /// Empty where the text is to stay as it is: it is short, or hardly gets shorter.
    std::string Pack(const std::string& text);

private:
    struct Workspace;
    std::unique_ptr<Workspace> TakeWorkspace();
    void GiveBack(std::unique_ptr<Workspace> workspace);

    struct Free {
        void operator()(ZSTD_CDict_s* dictionary) const;
    };
    const std::unique_ptr<ZSTD_CDict_s, Free> m_pDictionary;

    PlatformAbstraction::Mutex m_mutex;
    std::vector<std::unique_ptr<Workspace>> m_free QUILLON_GUARDED_BY(m_mutex);
};

/// Brings packed texts back. One thread at a time.
class TextUnpacker {
public:
    TextUnpacker();
    TextUnpacker(const TextUnpacker&) = delete;
    TextUnpacker& operator=(const TextUnpacker&) = delete;
    virtual ~TextUnpacker();

    /// Nothing where the bytes are no whole frame, the dictionary is not to be had, or the text would be
    /// longer than the frame can hold.
    std::optional<std::string> Unpack(std::string_view frame);

protected:
    /// The bytes of that dictionary, or nothing. Asked once for each that is there.
    virtual std::optional<std::string> FindDictionary(std::uint32_t number) = 0;

private:
    struct Free {
        void operator()(ZSTD_DCtx_s* context) const;
        void operator()(ZSTD_DDict_s* dictionary) const;
    };
    const ZSTD_DDict_s* DictionaryOf(std::uint32_t number);

    std::unique_ptr<ZSTD_DCtx_s, Free> m_pContext;  // from the first frame on
    std::map<std::uint32_t, std::unique_ptr<ZSTD_DDict_s, Free>> m_dictionaries;
};

}  // namespace CommonServices::Sqlite
