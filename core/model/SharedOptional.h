#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace brevio {

// An optional value kept on the heap and shared by copies until one of them changes it. For a
// part of a record that is seldom present but would otherwise take its full size in every copy
// (a reply's quote in every message): empty it costs one pointer pair instead of the value.
//
// Reads like std::optional: test it, dereference it, compare it by value. Non-const access
// gives this copy its own value first, so a change never shows through another copy.
template <class T> class SharedOptional {
public:
    SharedOptional() = default;
    SharedOptional(std::nullopt_t) {}
    SharedOptional(T value) : value_(std::make_shared<T>(std::move(value))) {}
    SharedOptional(std::optional<T> value) {
        if (value)
            value_ = std::make_shared<T>(std::move(*value));
    }

    bool has_value() const { return value_ != nullptr; }
    explicit operator bool() const { return has_value(); }
    void reset() { value_.reset(); }

    const T& operator*() const { return *value_; }
    const T* operator->() const { return value_.get(); }
    T& operator*() { return *detach(); }
    T* operator->() { return detach(); }

    std::optional<T> toOptional() const {
        return value_ ? std::optional<T>(*value_) : std::nullopt;
    }
    operator std::optional<T>() const { return toOptional(); }

    friend bool operator==(const SharedOptional& a, const SharedOptional& b) {
        if (a.value_ == b.value_)
            return true;
        return a.value_ && b.value_ && *a.value_ == *b.value_;
    }
    friend bool operator==(const SharedOptional& a, std::nullopt_t) { return !a; }
    friend bool operator==(const SharedOptional& a, const std::optional<T>& b) {
        return a.has_value() == b.has_value() && (!b || *a.value_ == *b);
    }

private:
    T* detach() {
        if (value_ && value_.use_count() > 1)
            value_ = std::make_shared<T>(*value_);
        return value_.get();
    }

    std::shared_ptr<T> value_;
};

} // namespace brevio
