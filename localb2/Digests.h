#pragma once

#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace localb2 {

/// SHA-1 and, if wanted, MD5 of bytes that arrive piece by piece.
class Digests {
public:
    struct Hex {
        std::string sha1;
        std::string md5; ///< Empty when it was not wanted.
    };

    explicit Digests(bool withMD5 = true);
    ~Digests();
    Digests(const Digests&) = delete;
    Digests& operator=(const Digests&) = delete;

    void add(std::span<const char> bytes);
    Hex finish();

    static Hex of(std::string_view bytes);

private:
    evp_md_ctx_st* sha1_;
    evp_md_ctx_st* md5_; ///< Null when it is not wanted.
};

/// MD5 of a customer's encryption key, in base64 as its header carries it.
std::string base64MD5(std::string_view bytes);

} // namespace localb2
