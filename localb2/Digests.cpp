#include "localb2/Digests.h"

#include "localb2/Encoding.h"

#include <openssl/evp.h>

#include <array>

namespace localb2 {

namespace {

std::string finishHex(EVP_MD_CTX* context)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes;
    unsigned length = 0;
    EVP_DigestFinal_ex(context, bytes.data(), &length);
    return hexOf(std::span(bytes).first(length));
}

// Fetched once: looking up an algorithm by name costs more than hashing a small file.
const EVP_MD* sha1Algorithm()
{
    static const EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA1", nullptr);
    return algorithm;
}

const EVP_MD* md5Algorithm()
{
    static const EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return algorithm;
}

} // namespace

Digests::Digests(bool withMD5)
    : sha1_(EVP_MD_CTX_new())
    , md5_(withMD5 ? EVP_MD_CTX_new() : nullptr)
{
    EVP_DigestInit_ex2(sha1_, sha1Algorithm(), nullptr);
    if (md5_)
        EVP_DigestInit_ex2(md5_, md5Algorithm(), nullptr);
}

Digests::~Digests()
{
    EVP_MD_CTX_free(sha1_);
    EVP_MD_CTX_free(md5_);
}

void Digests::add(std::span<const char> bytes)
{
    EVP_DigestUpdate(sha1_, bytes.data(), bytes.size());
    if (md5_)
        EVP_DigestUpdate(md5_, bytes.data(), bytes.size());
}

Digests::Hex Digests::finish()
{
    return {finishHex(sha1_), md5_ ? finishHex(md5_) : std::string()};
}

Digests::Hex Digests::of(std::string_view bytes)
{
    Digests digests;
    digests.add(bytes);
    return digests.finish();
}

std::string base64MD5(std::string_view bytes)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, md5Algorithm(), nullptr);
    std::array<unsigned char, 32> text;
    const int size = EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(length));
    return {reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(size)};
}

} // namespace localb2
