#include "model/JsonParser.h"

#include "model/Json.h"

#include <algorithm>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parser.hpp>
#include <boost/json/serializer.hpp>
#include <memory>
#include <optional>

namespace brevio::json {

namespace js = boost::json;

namespace {

js::parse_options parseOptions() {
    js::parse_options options;
    options.max_depth = maxParseDepth;
    return options;
}

[[noreturn]] void throwParseError(const boost::system::error_code& ec, std::size_t offset) {
    throw DecodeError(QStringLiteral("JSON non valido alla posizione %1: %2")
                          .arg(offset)
                          .arg(QString::fromStdString(ec.message())));
}

// Runs one complete document through `p`; the result allocates where p was last reset to.
js::value parseWith(js::parser& p, std::string_view text) {
    boost::system::error_code ec;
    const std::size_t used = p.write(text.data(), text.size(), ec);
    if (ec)
        throwParseError(ec, used);
    return p.release();
}

} // namespace

std::string serialize(const js::value& v) {
    js::serializer writer;
    writer.reset(&v);
    std::string out;
    std::size_t used = 0;
    while (!writer.done()) {
        // Grow geometrically and let the writer fill the string in place.
        out.resize(std::max<std::size_t>(out.size() * 2, 512));
        used += writer.read(out.data() + used, out.size() - used).size();
    }
    out.resize(used);
    return out;
}

js::value parse(std::string_view text, storage_ptr sp) {
    js::parser p(storage_ptr(), parseOptions());
    p.reset(std::move(sp));
    return parseWith(p, text);
}

namespace {

// Hands out memory from the upstream heap and counts it, so the parser can tell how much the
// arena's own buffer lacked.
class CountingResource final : public js::memory_resource {
public:
    std::size_t allocated = 0;

private:
    void* do_allocate(std::size_t n, std::size_t align) override {
        allocated += n;
        return ::operator new(n, std::align_val_t(align));
    }
    void do_deallocate(void* p, std::size_t, std::size_t align) override {
        ::operator delete(p, std::align_val_t(align));
    }
    bool do_is_equal(const js::memory_resource& other) const noexcept override {
        return this == &other;
    }
};

} // namespace

struct Arena::Impl {
    // The buffer grows to fit the largest document seen, up to this size; beyond it the arena
    // takes the rest from the heap for that one document.
    static constexpr std::size_t maxBuffer = std::size_t(16) << 20;
    static constexpr std::size_t minBuffer = std::size_t(64) << 10;

    CountingResource upstream;
    std::unique_ptr<unsigned char[]> buffer;
    std::size_t bufferSize = 0;
    std::optional<js::monotonic_resource> arena;
};

Arena::Arena() : d(new Impl) {}

Arena::~Arena() {
    delete d;
}

storage_ptr Arena::recycle(std::size_t expected) {
    std::size_t wanted =
        std::max({d->bufferSize + d->upstream.allocated, expected, Impl::minBuffer});
    wanted = std::min(wanted, Impl::maxBuffer);
    if (!d->arena || wanted > d->bufferSize) {
        d->arena.reset();
        d->buffer.reset(new unsigned char[wanted]);
        d->bufferSize = wanted;
        d->arena.emplace(d->buffer.get(), d->bufferSize, storage_ptr(&d->upstream));
    } else {
        d->arena->release();
    }
    d->upstream.allocated = 0;
    return storage_ptr(&*d->arena);
}

struct Parser::Impl {
    Arena arena;
    js::parser parser{storage_ptr(), parseOptions()};
    // Held in an optional so that it is move-constructed, keeping the arena as its storage;
    // assigning to a value with another storage would copy the whole document.
    std::optional<js::value> value;
};

Parser::Parser() : d(new Impl) {}

Parser::~Parser() {
    delete d;
}

const js::value& Parser::parse(std::string_view text) {
    // Let go of everything that points into the arena before it is recycled. Destroying a value
    // held in a monotonic arena costs nothing: it frees nothing one by one.
    d->value.reset();
    d->parser.reset();
    // A DOM takes about twice its text.
    d->parser.reset(d->arena.recycle(text.size() * 2));
    d->value.emplace(parseWith(d->parser, text));
    return *d->value;
}

} // namespace brevio::json
