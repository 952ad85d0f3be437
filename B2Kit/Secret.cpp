#include "B2Kit/Secret.h"

#include <algorithm>
#include <openssl/crypto.h>
#include <ostream>
#include <utility>

Secret::Secret(std::string_view text)
    : bytes_(text.empty() ? nullptr : std::make_unique_for_overwrite<char[]>(text.size()))
    , size_(text.size())
{
    std::ranges::copy(text, bytes_.get());
}

Secret::Secret(const char* text)
    : Secret(std::string_view(text))
{
}

Secret::Secret(const std::string& text)
    : Secret(std::string_view(text))
{
}

Secret::Secret(std::string&& text)
    : Secret(std::string_view(text))
{
    ::wipe(text);
}

Secret::Secret(Secret&& other) noexcept
    : bytes_(std::move(other.bytes_))
    , size_(std::exchange(other.size_, 0))
{
}

Secret& Secret::operator=(Secret&& other) noexcept
{
    if (this != &other) {
        wipe();
        bytes_ = std::move(other.bytes_);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

Secret::~Secret()
{
    wipe();
}

Secret Secret::trimmed() const
{
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const auto text = reveal();
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return Secret(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

bool Secret::operator==(const Secret& other) const
{
    return size_ == other.size_ && (size_ == 0 || CRYPTO_memcmp(bytes_.get(), other.bytes_.get(), size_) == 0);
}

void Secret::wipe()
{
    if (bytes_)
        OPENSSL_cleanse(bytes_.get(), size_);
    bytes_.reset();
    size_ = 0;
}

std::ostream& operator<<(std::ostream& stream, const Secret&)
{
    return stream << "<redacted>";
}

void wipe(std::string& text)
{
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}
