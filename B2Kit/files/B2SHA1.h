#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

/// Computes a SHA-1 as the bytes arrive.
class B2SHA1 {
public:
    B2SHA1();
    B2SHA1(B2SHA1&&) noexcept;
    B2SHA1& operator=(B2SHA1&&) noexcept;
    ~B2SHA1();

    void update(std::string_view bytes);

    /// The digest as 40 lowercase hexadecimal digits. Ends the computation: called once, after the last `update`.
    std::string finish();

private:
    struct Context;

    std::unique_ptr<Context> context_;
};

/// Returns the SHA-1 of a text in memory as 40 lowercase hexadecimal digits.
std::string sha1Of(std::string_view bytes);

/// Formats the bytes of a digest as 40 lowercase hexadecimal digits.
std::string sha1Text(const std::array<unsigned char, 20>& digest);
