#pragma once

#include <QDateTime>
#include <QStringView>
#include <string>
#include <string_view>

namespace brevio::json {

// JSON written as text straight into a buffer, with no value built on the way: for documents too
// large for a value tree (the saved state). What it writes is byte for byte what serialize() gives
// for the same value.
class TextWriter {
public:
    explicit TextWriter(std::string& out) : out_(out) {}

    void raw(std::string_view text) { out_.append(text); }
    // UTF-16 to escaped UTF-8; a lone surrogate becomes U+FFFD, as in toJsonString.
    void string(QStringView text);
    void number(qint64 n);
    void boolean(bool b) { raw(b ? std::string_view("true") : std::string_view("false")); }
    void date(const QDateTime& date);

private:
    std::string& out_;
};

} // namespace brevio::json
