#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "Core/src/wf_Record.h"
#include "platform/stores/mongo/Document.h"

namespace CommonServices::Mongo {

// How a record lies in the collection of all records:
//
//     _id         the record's id
//     collection  its topic
//     type, version, name, description, data, publicData, tags, readOnly, systemCreated, modified
//     place       its place in the store's order
//     refs        a hash of key and value for each text at the top level of its public JSON
//     outbox      only while events are pending: [{token, event: {id, topic, type, ...}}]
//     since       only then: when the oldest of them was written
//
// A removed record whose events are pending leaves a document with a token as its `_id`, and with `outbox`
// and `since` alone: no record has such an id, and no search for records finds it.
namespace Fields {
inline constexpr const char* kId = "_id";
inline constexpr const char* kCollection = "collection";
inline constexpr const char* kType = "type";
inline constexpr const char* kData = "data";
inline constexpr const char* kPlace = "place";
inline constexpr const char* kReferences = "refs";
inline constexpr const char* kOutbox = "outbox";
inline constexpr const char* kToken = "token";
inline constexpr const char* kEvent = "event";
inline constexpr const char* kSince = "since";
inline constexpr const char* kOutboxToken = "outbox.token";
}  // namespace Fields

/// What a record says of itself: all but id, collection and place.
void AppendPlainFields(Document& document, const Weftline::Record& record);

/// What an upsert sets: all of a record but id, collection and place.
Document FieldsOf(const Weftline::Record& record, std::chrono::system_clock::time_point now);

Weftline::Record RecordOf(const bson_t& document);

/// An event as it lies in an outbox.
Document OutboxEntryOf(const Token& token, const Weftline::Record& event);
Weftline::Record EventOf(const Document& entry);

/// 16 bytes that stand for "the text `value` under `key`". A collision cannot be made on purpose.
std::string ReferenceHash(std::string_view key, std::string_view value);

}  // namespace CommonServices::Mongo
