#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

/// A text that must not be seen: the secret half of a key, a passphrase.
///
/// Prints as "<redacted>" and wipes its bytes when it is destroyed. Moves without copying the bytes; a copy is always
/// explicit. A `std::string` that is moved in is wiped too.
class Secret {
public:
    Secret() = default;
    // Any text may become a secret; only the way back is explicit.
    Secret(std::string_view text);   // NOLINT(google-explicit-constructor)
    Secret(const char* text);        // NOLINT(google-explicit-constructor)
    Secret(const std::string& text); // NOLINT(google-explicit-constructor)
    Secret(std::string&& text);      // NOLINT(google-explicit-constructor)
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    ~Secret();

    Secret copy() const { return Secret(reveal()); }
    /// A copy without the blanks and line ends around it.
    Secret trimmed() const;

    /// The text itself, valid as long as this object.
    std::string_view reveal() const { return {bytes_.get(), size_}; }
    bool empty() const { return size_ == 0; }

    /// Compares in constant time: a difference in the first byte takes as long as one in the last.
    bool operator==(const Secret& other) const;

private:
    void wipe();

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
};

std::ostream& operator<<(std::ostream& stream, const Secret& secret);

/// Overwrites the bytes of a text and leaves it empty.
void wipe(std::string& text);
