#pragma once

// JSON text in and out: parsing (into the heap, or into a reusable arena) and serialising.

#include <boost/json/value.hpp>
#include <cstddef>
#include <string>
#include <string_view>

namespace brevio::json {

using boost::json::storage_ptr;

// Serialises a JSON value to compact UTF-8 text.
std::string serialize(const boost::json::value& v);
// Parses UTF-8 text; malformed JSON, invalid UTF-8, trailing data or nesting deeper than
// maxParseDepth throws DecodeError. `sp` is where the result allocates.
boost::json::value parse(std::string_view text, storage_ptr sp = {});
// Deep enough for every record (a welcome nests five levels), shallow enough that a hostile
// frame of brackets is refused early.
inline constexpr std::size_t maxParseDepth = 32;

// Memory for one JSON document at a time, built or parsed, reused from one document to the
// next: building or parsing a large document otherwise spends much of its time allocating and
// freeing (and on this machine, faulting in fresh pages).
class Arena {
public:
    Arena();
    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Starts over and returns the storage to allocate from. Every value that used the arena
    // before must be gone. `expectedBytes` sizes the first buffer; later the arena grows to what
    // the largest document needed.
    storage_ptr recycle(std::size_t expectedBytes = 0);

private:
    struct Impl;
    Impl* d;
};

// Parses one document at a time into a reusable arena: the value returned by parse() lives until
// the next parse() or until the Parser is destroyed. Decoding a large frame spends much of its
// time in allocation; reusing one arena avoids nearly all of it.
class Parser {
public:
    Parser();
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    const boost::json::value& parse(std::string_view text);

private:
    struct Impl;
    Impl* d;
};

} // namespace brevio::json
