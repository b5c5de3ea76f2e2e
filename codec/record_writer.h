// Writes the members of a record as the JSON text that the store takes.
#pragma once

#include "util/fixed_text.h"
#include "util/six_decimals.h"
#include "util/work_area.h"

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane {

/// The writing half of a kind's member list; reply_row in reply_reader.h is the reading half. A member that is not set is left out. Values go out exactly as they stand, without JSON
/// escaping: the store is fed that way, and whoever puts a quote into a text gets the store's refusal.
class record_writer {
public:
    /// `codec` is the function told in the log.
    explicit record_writer(const char* codec)
        : codec_(codec)
    {
        text_.append("{");
    }

    /// A text, left out when empty.
    template <std::size_t size>
    void text(std::string_view name, const char (&field)[size])
    {
        if (field[0] != '\0') {
            key(name);
            text_.append("\"");
            text_.append(text_of(field));
            text_.append("\",");
        }
    }

    /// A text that is stored but never read back.
    template <std::size_t size>
    void write_only_text(std::string_view name, const char (&field)[size])
    {
        text(name, field);
    }

    /// Milliseconds, sent as a quoted number; left out when 0.
    void time(std::string_view name, long long milliseconds)
    {
        if (milliseconds != 0) {
            key(name);
            text_.append("\"");
            text_.append_number(milliseconds);
            text_.append("\",");
        }
    }

    /// A bare number, left out when it is `absent`.
    void number_unless(int absent, std::string_view name, int value)
    {
        if (value != absent) {
            number(name, value);
        }
    }

    /// A bare number, left out below `minimum`.
    void number_from(int minimum, std::string_view name, int value)
    {
        if (value >= minimum) {
            number(name, value);
        }
    }

    /// A number with six decimals, left out when it is exactly `absent`.
    void real_unless(double absent, std::string_view name, double value)
    {
        if (value != absent) {
            real(name, value);
        }
    }

    /// A number with six decimals, left out below `minimum`.
    void real_from(double minimum, std::string_view name, double value)
    {
        if (value >= minimum) {
            real(name, value);
        }
    }

    /// true or false, always there.
    void boolean(std::string_view name, bool value)
    {
        key(name);
        text_.append(value ? "true," : "false,");
    }

    /// A polygon as [[x,y],...], left out when it has no vertices.
    void vertex_pairs(std::string_view name, const std::vector<Tposition_xy>& polygon);

    /// A polygon as {"type":"Polygon","coordinates":[[[x,y],...]]}, its first vertex repeated at the end to
    /// close the ring; left out when it has no vertices.
    void closed_ring(std::string_view name, const std::vector<Tposition_xy>& polygon);

    /// Closes the text and copies it to `out`. A record with nothing set gives "}": the brace takes the last
    /// character's place, whatever that is.
    void finish(std::string& out);

private:
    void key(std::string_view name)
    {
        text_.append("\"");
        text_.append(name);
        text_.append("\":");
    }

    void number(std::string_view name, int value)
    {
        key(name);
        text_.append_number(value);
        text_.append(",");
    }

    void real(std::string_view name, double value)
    {
        key(name);
        text_.append(six_decimals(value).view());
        text_.append(",");
    }

    bool append_vertex(const Tposition_xy& vertex, std::size_t reserve);
    void append_vertices(const std::vector<Tposition_xy>& polygon, std::size_t reserve);

    work_area text_;
    const char* codec_;
};

} // namespace korvane
