#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <variant>

#include "Core/src/Vocabulary.h"

/// The operations that clients can submit: the one table from which their registration, their jobs, the
/// farm's work and its reports are made. All texts are views of literals; compare them as texts, never by
/// address.
namespace Weftline::SubmitOperations {

/// What an inline table may hold: up to `capacity` values, as many as are given. More do not compile.
template <typename Value, std::size_t capacity>
class ShortList {
public:
    constexpr ShortList() = default;
    constexpr ShortList(std::initializer_list<Value> values) : m_size(values.size()) {
        std::ranges::copy(values, m_values.begin());
    }
    constexpr const Value* begin() const { return m_values.data(); }
    constexpr const Value* end() const { return m_values.data() + m_size; }

private:
    std::array<Value, capacity> m_values{};
    std::size_t m_size = 0;
};

/// A plain value of a tree.
struct Field {
    std::string_view key;
    std::variant<std::string_view, std::int32_t, bool> value;
};

/// An example that is these values.
using Fields = ShortList<Field, 12>;

/// An example that is a whole request around the document of that name in `resources/`, its job parameters.
struct Enveloped {
    std::string_view document;
};

/// An example that is the document of that name alone.
struct Bare {
    std::string_view document;
};

/// An example that is no list of plain values and built beside the handlers.
enum class InCode { Consolidate, Export, ProxyCreation };

struct Example {
    std::string_view label;
    std::variant<Fields, Enveloped, Bare, InCode> form;
};

/// What a worker does, and the name under which a report shows it.
struct Task {
    std::string_view kind;
    std::string_view displayName;
};

/// One operation.
struct Row {
    std::string_view message;  ///< its registered name
    std::string_view description;
    std::string_view restPath;
    std::string_view jobKind;
    std::string_view evalTaskKind;
    Task mediaTask{};  ///< what media workers do after the evaluation; without a kind, that is the whole job
    std::string_view name;        ///< of its jobs, and the first word when one could not be stored
    bool failJobDefault = true;   ///< of `failJobOnFirstFailedTask`, where a request does not say
    bool mayNameProfile = false;  ///< whether job parameters may name a stored profile in place of themselves
    ShortList<Example, 4> examples;
};

inline constexpr Row kTranscode{
    .message = "SubmitTranscode",
    .description = "Initiate a transcode operation on one or more mobs from metadata source",
    .restPath = "submitTranscode",
    .jobKind = "orvik.quillon.transcode",
    .evalTaskKind = "orvik.quillon.task.metadata.transcode",
    .mediaTask = {"orvik.quillon.task.transcode", "Transcode"},
    .name = "Transcode",
    .mayNameProfile = true,
    .examples =
        {
            {"SubmitTranscodeSD", Enveloped{"IDR_TRANSCODE_SD"}},
            {"SubmitTranscodeHD", Enveloped{"IDR_TRANSCODE_HD"}},
            {"SubmitTranscodeUHD", Enveloped{"IDR_TRANSCODE_UHD"}},
        },
};

inline constexpr Row kConsolidate{
    .message = "SubmitConsolidate",
    .description = "Initiate a consolidate operation on one or more mobs from metadata source",
    .restPath = "submitConsolidate",
    .jobKind = "orvik.quillon.consolidate",
    .evalTaskKind = "orvik.quillon.task.metadata.consolidate",
    .mediaTask = {"orvik.quillon.task.consolidate", "Consolidate"},
    .name = "Consolidate",
    .examples =
        {
            {"SubmitConsolidate", InCode::Consolidate},
            {"SubmitConsolidateEx1", Enveloped{"IDR_CONSOLIDATE_EX1"}},
        },
};

inline constexpr Row kMixdown{
    .message = "SubmitMixdown",
    .description = "Initiate a mixdown operation on one or more mobs from metadata source",
    .restPath = "submitMixdown",
    .jobKind = "orvik.quillon.mixdown",
    .evalTaskKind = "orvik.quillon.task.metadata.eval.mixdown",  // alone with an "eval" of its own
    .mediaTask = {"orvik.quillon.task.mixdown", "Mixdown"},
    .name = "Mixdown",
    .examples =
        {
            {"SubmitMixdownSD", Enveloped{"IDR_MIXDOWN_SD"}},
            {"SubmitMixdownHD", Enveloped{"IDR_MIXDOWN_HD"}},
            {"SubmitMixdownUHD", Enveloped{"IDR_MIXDOWN_UHD"}},
        },
};

inline constexpr Row kRender{
    .message = "SubmitRender",
    .description = "Initiate a render operation on one or more mobs from metadata source",
    .restPath = "submitRender",
    .jobKind = "orvik.quillon.render",
    .evalTaskKind = "orvik.quillon.task.metadata.render",
    .mediaTask = {"orvik.quillon.task.render.video", "Video precompute"},
    .name = "Render",
    .examples =
        {
            {"SubmitRenderSD", Enveloped{"IDR_VIDEO_PRECOMPUTE_SD"}},
            {"SubmitRenderHD", Enveloped{"IDR_VIDEO_PRECOMPUTE_HD"}},
            {"SubmitRenderUHD", Enveloped{"IDR_VIDEO_PRECOMPUTE_UHD"}},
        },
};

inline constexpr Row kExport{
    .message = "SubmitExport",
    .description = "Initiate an export operation on a sequence",
    .restPath = "submitExport",
    .jobKind = "orvik.quillon.export",
    .evalTaskKind = "orvik.quillon.task.metadata.export",
    .mediaTask = {"orvik.quillon.task.export", "Export"},
    .name = "Export",
    .examples = {{"SubmitExport", InCode::Export}},
};

inline constexpr Row kDataExtract{
    .message = "SubmitDataExtract",
    .description = "Initiate a dataextract operation on one or more mobs from metadata source",
    .restPath = "submitDataExtract",
    .jobKind = "orvik.quillon.dataextract",
    .evalTaskKind = "orvik.quillon.task.metadata.dataextract",
    .mediaTask = {"orvik.quillon.task.dataextract", "DataExtract"},
    .name = "DataExtract",
    .examples = {{"SubmitDataExtractHD", Enveloped{"IDR_DATAEXTRACT_HD"}}},
};

inline constexpr Row kProxyCreation{
    .message = "SubmitProxyCreation",
    .description = "Initiate a proxy creation operation on one or more mobs from metadata source",
    .restPath = "submitProxyCreation",
    .jobKind = "orvik.quillon.proxycreation",
    .evalTaskKind = "orvik.quillon.task.metadata.proxycreation",
    .mediaTask = {"orvik.quillon.task.proxycreation", "ProxyCreation"},
    .name = "ProxyCreation",
    .failJobDefault = false,
    .mayNameProfile = true,
    .examples = {{"Submit proxy creation using profile id", InCode::ProxyCreation}},
};

inline constexpr Row kDynamicRelink{
    .message = "SubmitDynamicRelink",
    .description = "Initiate a dynamic relink operation on sequence from metadata source",
    .restPath = "submitDynamicRelink",
    .jobKind = "orvik.quillon.metadata.dynamicrelink",
    .evalTaskKind = "orvik.quillon.task.metadata.dynamicrelink",
    .name = "DynamicRelink",
    .examples =
        {
            {"Dynamic Relink Highest Quality", Enveloped{"IDR_DR_HIGHEST_QUALITY"}},
            {"Dynamic Relink Specific Resolution", Enveloped{"IDR_DR_SPECIFIC_RESOLUTION"}},
        },
};

inline constexpr Row kVerifyAccess{
    .message = "VerifyAccessToMedia",
    .description = "Verifies access to the mob dependencies",
    .restPath = "verifyAccessToMedia",
    .jobKind = "orvik.quillon.metadata.verifyaccess",
    .evalTaskKind = "orvik.quillon.task.metadata.verifyaccess",
    .name = "VerifyAccessToMedia",
    .examples = {{"emptyParams", Fields{}}},
};

inline constexpr Row kExportQuery{
    .message = "SubmitExportQuery",
    .description = "Submit Export Query",
    .restPath = "submitExportQuery",
    .jobKind = "orvik.quillon.metadata.query.export",
    .evalTaskKind = "orvik.quillon.task.metadata.query.exporttypes",  // "export" in the job kind
    .name = "ExportQuery",
    .examples =
        {
            {"Query Export types by type", Fields{{Keys::Type, "LXA"}}},
            {"Query Export types by name", Fields{{Keys::Name, "MXF OP1a"}}},
            {"Query Export types by GUID", Fields{{Keys::GUID, "D49F75BA-4965-4CFA-9D11-CD87206287E0"}}},
        },
};

inline constexpr Row kVideoFormatsQuery{
    .message = "SubmitVideoFormatsQuery",
    .description = "Returns list of available video formats for specified parameters",
    .restPath = "submitVideoFormatsQuery",
    .jobKind = "orvik.quillon.metadata.query.video",
    .evalTaskKind = "orvik.quillon.task.metadata.query.video",
    .name = "VideoFormatsQuery",
    .examples =
        {
            {"query video formats for parameters",
             Fields{{Keys::RasterWidth, 1280},
                    {Keys::RasterHeight, 720},
                    {Keys::Formats::ColorSpace, "0xdab8b683-0x8476-0x4478-0x8f6e-0x2da6-0xf50d-0xe395"},
                    {Keys::RateNumerator, 60000},
                    {Keys::RateDenominator, 1001},
                    {Keys::Formats::Progressive, true},
                    {Keys::Formats::CompressionFamily, "Ravex HQX"},
                    {Keys::Formats::EncodingName, "Ravex HQX"},
                    {Keys::Formats::Preset, "ravex/hr/1271/422"}}},
            {"query video format by legacy vcid", Fields{{Keys::Formats::LegacyVCID, 1242}}},
            {"query video format by Tarvale compression string",
             Fields{{Keys::TarvaleCompression, "XAVC UHD Intra CBG Class 300 59.94"}}},
        },
};

inline constexpr Row kAudioFormatsQuery{
    .message = "SubmitAudioFormatsQuery",
    .description = "Returns list of available audio formats for specified filters",
    .restPath = "submitAudioFormatsQuery",
    .jobKind = "orvik.quillon.metadata.query.audio",
    .evalTaskKind = "orvik.quillon.task.metadata.query.audio",
    .name = "AudioFormatsQuery",
    .examples =
        {
            {"query audio formats for specified filters",
             Fields{{Keys::Formats::FileFormat, "FA6C0B28-ACEF-4196-A1A5-B1BF3C3BDC60"},
                    {Keys::Formats::SampleRate, 48000},
                    {Keys::Formats::BitsPerSample, 24}}},
            {"query audio formats by Tarvale compression string",
             Fields{{Keys::TarvaleCompression, "Uncompressed PCM 24 bit"},
                    {Keys::Formats::SampleRate, 96000}}},
        },
};

inline constexpr Row kSourceAvailability{
    .message = "SubmitSourceAvailabilityQuery",
    .description = "Submits source availability for each mob",
    .restPath = "submitSourceAvailabilityQuery",
    .jobKind = "orvik.quillon.metadata.sourceavailability",
    .evalTaskKind = "orvik.quillon.task.metadata.sourceavailability",
    .name = "SourceAvailability",
    .examples = {{"query source availability", Enveloped{"IDR_SOURCE_AVAILABILITY"}}},
};

inline constexpr Row kMobIDsFromContainer{
    .message = "SubmitMobIDsFromContainerQuery",
    .description = "Submit query to get mobIDs in the specified container",
    .restPath = "submitMobIDsFromContainerQuery",
    .jobKind = "orvik.quillon.metadata.mobidsfromcontainer",
    .evalTaskKind = "orvik.quillon.task.metadata.mobidsfromcontainer",
    .name = "MobIDsFromContainer",
    .examples = {{"query mobIDs from container", Bare{"IDR_GET_MOB_IDS_FROM_CONTAINER"}}},
};

inline constexpr Row kSuitableMastersQuery{
    .message = "SubmitSuitableMastersQuery",
    .description = "Initiate a submit suitable masters operation on one or more mobs from metadata source",
    .restPath = "submitSuitableMastersQuery",
    .jobKind = "orvik.quillon.metadata.query.suitablemasters",
    .evalTaskKind = "orvik.quillon.task.metadata.query.suitablemasters",
    .name = "SuitableMastersQuery",
    .examples = {{"SubmitSuitableMastersQuery", Enveloped{"IDR_SUBMIT_SUITABLE_MASTERS_QUERY"}}},
};

/// All of them, in the order of their registration.
inline constexpr std::array kAll{
    &kTranscode,
    &kConsolidate,
    &kMixdown,
    &kRender,
    &kExport,
    &kDataExtract,
    &kProxyCreation,
    &kDynamicRelink,
    &kVerifyAccess,
    &kExportQuery,
    &kVideoFormatsQuery,
    &kAudioFormatsQuery,
    &kSourceAvailability,
    &kMobIDsFromContainer,
    &kSuitableMastersQuery,
};

/// The operation whose jobs are of that kind, whose jobs that task evaluates, or whose media work that task
/// is. Null where there is none. The whole text counts, and its case.
[[nodiscard]] const Row* FindByJobKind(std::string_view jobKind);
[[nodiscard]] const Row* FindByEvalTaskKind(std::string_view taskKind);
[[nodiscard]] const Row* FindByMediaTaskKind(std::string_view taskKind);

}  // namespace Weftline::SubmitOperations

namespace Weftline {

/// The name under which a report shows a task that workers run; empty for every other kind, the evaluation
/// tasks included. The whole text counts, and its case.
std::string_view TaskDisplayName(std::string_view taskKind);

}  // namespace Weftline
