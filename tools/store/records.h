#pragma once

#include "database.h"
#include "geometry.h"
#include "json_text.h"

#include <string_view>
#include <vector>

enum class member_type {
    text,    ///< a string of at most `size` bytes
    integer, ///< a whole number of 32 bits
    number,  ///< any finite number
    boolean, ///< true or false
    time,    ///< milliseconds since the epoch: a string of decimal digits, or a whole number
};

/// Whether queries look at a member. All members come back in the record's text.
enum class kept { in_record, as_column };

/// One member that a record's body may have. None is required.
struct member {
    std::string_view name;
    member_type type;
    std::size_t size; ///< of text: what the readers of replies have room for
    kept where;
};

/// What is special about records of one kind.
struct record_kind {
    std::string_view table;
    std::vector<member> members;
    /// The vertices of a "loc" member. Throws refusal (bad_polygon).
    std::vector<vertex> (*read_loc)(json_object* loc);
};

/// The members that all kinds have, followed by the kind's own. Only the room for a description differs.
std::vector<member> with_header(std::size_t description_size, std::vector<member> own);

/// "loc" as [[x,y],...].
std::vector<vertex> read_vertex_list(json_object* loc);

/// "loc" as {"type":"Polygon","coordinates":[[[x,y],...]]}: one ring whose last vertex repeats its first.
std::vector<vertex> read_closed_ring(json_object* loc);

/// Stores the records of one kind.
///
/// A record is kept as its own JSON text, less the members that are null, and comes back as that. Beside it
/// stand the members that queries look at, and the polygon with its box in an R*Tree of the name KIND_box.
class record_table {
public:
    /// Makes the tables that are not there yet.
    record_table(database& db, const record_kind& kind);

    /// Checks and stores one record. Throws refusal.
    void add(json_object* record);

    /// The number of records held.
    std::int64_t count() const;

private:
    database& database_;
    const record_kind& kind_;
    std::string insert_;
    std::string insert_box_;
};
