#include "B2Kit/files/B2SHA1.h"

#include <new>
#include <openssl/evp.h>

struct B2SHA1::Context {
    Context()
        : digest(EVP_MD_CTX_new())
    {
        // Looked up once: the lookup costs as much as hashing a kilobyte.
        static const EVP_MD* const sha1 = EVP_MD_fetch(nullptr, "SHA1", nullptr);
        if (!digest || EVP_DigestInit_ex(digest, sha1, nullptr) != 1)
            throw std::bad_alloc();
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context() { EVP_MD_CTX_free(digest); }

    EVP_MD_CTX* digest;
};

B2SHA1::B2SHA1()
    : context_(std::make_unique<Context>())
{
}
B2SHA1::B2SHA1(B2SHA1&&) noexcept = default;
B2SHA1& B2SHA1::operator=(B2SHA1&&) noexcept = default;
B2SHA1::~B2SHA1() = default;

void B2SHA1::update(std::string_view bytes)
{
    EVP_DigestUpdate(context_->digest, bytes.data(), bytes.size());
}

std::string B2SHA1::finish()
{
    std::array<unsigned char, 20> digest{};
    EVP_DigestFinal_ex(context_->digest, digest.data(), nullptr);
    return sha1Text(digest);
}

std::string sha1Text(const std::array<unsigned char, 20>& digest)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string sha1Of(std::string_view bytes)
{
    B2SHA1 sha1;
    sha1.update(bytes);
    return sha1.finish();
}
