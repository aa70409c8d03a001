// SPDX-License-Identifier: MIT
// What an operation of the host answers: done, or a sentence that says what is wrong and what to do.
#pragma once

#include <string>
#include <utility>

namespace refhost {

/// Done when `message` is empty; otherwise nothing was changed and the message tells the user why.
struct [[nodiscard]] Result {
    std::string message;

    bool ok() const { return message.empty(); }
    static Result failure(std::string text) { return {std::move(text)}; }
};

/// A value, or a message and a default-made value.
template <class T>
struct [[nodiscard]] ResultOf {
    T value{};
    std::string message;

    bool ok() const { return message.empty(); }
    /// The same answer without the value.
    Result result() const { return {message}; }
    static ResultOf failure(std::string text) { return {T{}, std::move(text)}; }
};

} // namespace refhost
