// What the benchmarks store and read: plausible records, the same in every run.
#pragma once

#include <korvane/metadata_records.h>

#include <cstddef>
#include <string>

namespace korvane::bench {

/// A person with every field set. `index` varies time and place; the length of its text does not depend on
/// it.
human_detection_metadata_information make_person(std::size_t index, std::size_t vertices);

/// A face with every field set.
face_recognition_metadata_information make_face(std::size_t vertices);

/// A store's reply that lists so many persons of four vertices.
std::string make_reply(std::size_t persons);

/// What a store answers when it has stored a record.
std::string make_stored_reply();

/// A report for insert_ai_metadata: so many results of human detection, each of so many persons of four vertices.
/// `index` varies time and place.
std::string make_report(std::size_t persons, std::size_t results = 1, std::size_t index = 0);

/// A query for as many persons, for query_ai_metadata.
std::string make_query(std::size_t persons);

} // namespace korvane::bench
