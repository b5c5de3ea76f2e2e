// Pieces of SVG documents, and the look that all of ours share.
#pragma once

#include <string>

namespace host {

extern const char* const ink;
extern const char* const faint_ink;

/// Opens a white page, in SVG units, with the text classes "mark" (13 units) and "note" (15). The caller
/// closes it with "</svg>".
void begin_svg(std::string& svg, double width, double height);

/// Appends one piece, at most 511 bytes.
__attribute__((format(printf, 2, 3))) void add_svg(std::string& svg, const char* format, ...);

/// A line of text of any length, escaped. `attributes` are SVG's own.
void add_svg_text(std::string& svg, double x, double y, const char* attributes, const std::string& text);

/// The picture's name, 48 units below the top.
void add_svg_title(std::string& svg, double x, const std::string& title);

/// `text` as SVG holds it, control characters as '?'.
std::string svg_escaped(const std::string& text);

/// The text's first letters, at most so many bytes, and dots for the rest.
std::string cut_to(const std::string& text, size_t bytes);

} // namespace host
