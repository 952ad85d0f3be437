#include "localb2/Tokens.h"

#include "localb2/Database.h"
#include "localb2/Encoding.h"

#include <algorithm>

namespace localb2 {

Tokens::Tokens(Database& database)
    : database_(database)
{
    Query query(database_, "SELECT token, kind, key, expires, target, prefix, overrides FROM tokens");
    while (query.next())
        tokens_.emplace(query.text(0),
            Token{.kind = static_cast<Token::Kind>(query.integer(1)),
                .keyID = std::string(query.text(2)),
                .expires = query.integer(3),
                .target = std::string(query.text(4)),
                .prefix = std::string(query.text(5)),
                .overrides = std::string(query.text(6))});
}

std::string Tokens::add(Token token, Milliseconds now)
{
    if (tokens_.size() >= sizeToClean_)
        eraseOutdated(now);
    static constexpr std::string_view marks[] = {"acct", "uplf", "uplp", "dwnl"};
    const auto mark = marks[static_cast<std::size_t>(token.kind)];
    auto text = "4_" + token.keyID + "_" + randomText(8) + "_" + std::string(mark) + "_" + randomText(28) + "=";
    Query(database_,
        "INSERT INTO tokens (token, kind, key, expires, target, prefix, overrides) VALUES (?, ?, ?, ?, ?, ?, ?)", text,
        static_cast<int>(token.kind), token.keyID, token.expires, token.target, token.prefix, token.overrides)
        .run();
    tokens_.emplace(text, std::move(token));
    return text;
}

Token* Tokens::find(std::string_view text)
{
    const auto found = tokens_.find(std::string(text));
    return found == tokens_.end() ? nullptr : &found->second;
}

void Tokens::expire(std::string_view text)
{
    auto* const token = find(text);
    if (!token)
        return;
    token->expires = 0;
    Query(database_, "UPDATE tokens SET expires = 0 WHERE token = ?", text).run();
}

void Tokens::expireAll(Token::Kind kind)
{
    for (auto& [text, token] : tokens_) {
        if (token.kind == kind)
            token.expires = 0;
    }
    Query(database_, "UPDATE tokens SET expires = 0 WHERE kind = ?", static_cast<int>(kind)).run();
}

void Tokens::eraseOfKey(std::string_view keyID)
{
    std::erase_if(tokens_, [&](const auto& entry) { return entry.second.keyID == keyID; });
    Query(database_, "DELETE FROM tokens WHERE key = ?", keyID).run();
}

// An outdated token is reported as expired for some days, then as unknown.
void Tokens::eraseOutdated(Milliseconds now)
{
    std::erase_if(
        tokens_, [&](const auto& entry) { return entry.second.expires < now - 7 * day && !entry.second.isBusy; });
    Query(database_, "DELETE FROM tokens WHERE expires < ?", now - 7 * day).run();
    sizeToClean_ = std::max<std::size_t>(10000, tokens_.size() * 2);
}

} // namespace localb2
