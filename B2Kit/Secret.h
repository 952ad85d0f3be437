#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

/// A text that must not be seen: the secret half of a key, a passphrase.
///
/// Prints as "<redacted>", and its bytes are wiped when it goes. Moves without copying the bytes; a copy has to be
/// asked for. Taking in a `std::string` by move wipes that one too.
class Secret {
public:
    Secret() = default;
    // A text may become secret anywhere; only the way back has to be asked for.
    Secret(std::string_view text);   // NOLINT(google-explicit-constructor)
    Secret(const char* text);        // NOLINT(google-explicit-constructor)
    Secret(const std::string& text); // NOLINT(google-explicit-constructor)
    Secret(std::string&& text);      // NOLINT(google-explicit-constructor)
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    ~Secret();

    Secret copy() const { return Secret(reveal()); }
    /// Without the blanks and line ends around it.
    Secret trimmed() const;

    /// The text itself, as long as this object stands.
    std::string_view reveal() const { return {bytes_.get(), size_}; }
    bool empty() const { return size_ == 0; }

    /// Takes as long for a difference in the first byte as for one in the last.
    bool operator==(const Secret& other) const;

private:
    void wipe();

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
};

std::ostream& operator<<(std::ostream& stream, const Secret& secret);

/// Wipes what a text holds and leaves it empty.
void wipe(std::string& text);
