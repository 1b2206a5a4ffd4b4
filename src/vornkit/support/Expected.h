#pragma once

// Operations that may fail return vorn::Expected<T, E>. With GCC this is
// std::expected. The fuzz targets are built with clang 14, whose libstdc++ 12
// headers hide std::expected, so there a small stand-in with the same surface
// (the part of it this code base uses) takes its place.

#include <version>

#if defined(__cpp_lib_expected)

#include <expected>

namespace vorn {
template <class T, class E>
using Expected = std::expected<T, E>;
template <class E>
using Unexpected = std::unexpected<E>;
}  // namespace vorn

#else

#include <type_traits>
#include <utility>
#include <variant>

namespace vorn {

template <class E>
class Unexpected {
  public:
    explicit Unexpected(E error) : value(std::move(error)) {}
    const E& error() const& { return value; }
    E& error() & { return value; }
    E&& error() && { return std::move(value); }

  private:
    E value;
};

template <class E>
Unexpected(E) -> Unexpected<E>;

template <class T, class E>
class Expected {
  public:
    using value_type = T;
    using error_type = E;

    Expected() requires std::is_default_constructible_v<T> : storage(std::in_place_index<0>) {}
    template <class U = T>
    requires std::is_constructible_v<T, U&&> &&
        (!std::is_same_v<std::remove_cvref_t<U>, Expected>)Expected(U&& value)
        : storage(std::in_place_index<0>, std::forward<U>(value)) {}
    template <class G>
    Expected(Unexpected<G> failure) : storage(std::in_place_index<1>, std::move(failure).error()) {}

    bool has_value() const { return storage.index() == 0; }
    explicit operator bool() const { return has_value(); }

    T& value() & { return std::get<0>(storage); }
    const T& value() const& { return std::get<0>(storage); }
    T&& value() && { return std::get<0>(std::move(storage)); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    E& error() & { return std::get<1>(storage); }
    const E& error() const& { return std::get<1>(storage); }
    E&& error() && { return std::get<1>(std::move(storage)); }

    template <class U>
    T value_or(U&& fallback) const& {
        return has_value() ? value() : static_cast<T>(std::forward<U>(fallback));
    }

  private:
    std::variant<T, E> storage;
};

template <class E>
class Expected<void, E> {
  public:
    using value_type = void;
    using error_type = E;

    Expected() = default;
    template <class G>
    Expected(Unexpected<G> failure) : failure(std::move(failure).error()), failed(true) {}

    bool has_value() const { return !failed; }
    explicit operator bool() const { return has_value(); }
    void value() const {}
    const E& error() const& { return failure; }
    E& error() & { return failure; }

  private:
    E failure{};
    bool failed = false;
};

}  // namespace vorn

#endif
