#pragma once

#include "localb2/Records.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace localb2 {

class Database;

struct Token {
    enum class Kind { account, upload, part, download };

    Kind kind = Kind::account;
    std::string keyID;
    Milliseconds expires = 0;
    std::string target;    ///< The bucket or file it is for; empty for an account token.
    std::string prefix;    ///< Download tokens: what names begin with.
    std::string overrides; ///< Download tokens: the header overrides it was made with, as JSON.
    bool isBusy = false;   ///< An upload through it is under way.
};

/// The tokens handed out, kept so that they outlive a restart.
class Tokens {
public:
    explicit Tokens(Database& database);

    /// Gives the token its text.
    std::string add(Token token, Milliseconds now);

    /// Null when it was never given out, or its key was deleted.
    Token* find(std::string_view text);

    /// Makes a token, or every token of a kind, one that has expired.
    void expire(std::string_view text);
    void expireAll(Token::Kind kind);

    void eraseOfKey(std::string_view keyID);

private:
    void eraseOutdated(Milliseconds now);

    Database& database_;
    std::unordered_map<std::string, Token> tokens_;
    std::size_t sizeToClean_ = 10000;
};

} // namespace localb2
