#include "foundation/NaturalOrder.h"

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <QLocale>

#include <cstdint>
#include <memory>

namespace {

using Collator = std::unique_ptr<UCollator, decltype(&ucol_close)>;

Collator makeCollator()
{
    // The C locale has no collation and would sort by bytes.
    const QLocale user;
    const auto name = user.language() == QLocale::C ? QByteArray("en") : user.bcp47Name().toLatin1();
    UErrorCode status = U_ZERO_ERROR;
    Collator collator(ucol_open(name.constData(), &status), &ucol_close);
    if (U_SUCCESS(status)) {
        ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        ucol_setStrength(collator.get(), UCOL_SECONDARY); // Accents count, case does not.
    }
    return collator;
}

/// Returns UTF-16 for ICU; invalid UTF-8 becomes U+FFFD.
std::u16string toUTF16(const std::string& text)
{
    std::u16string wide(text.size(), u'\0'); // Never more units than there are bytes.
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(wide.data(), static_cast<std::int32_t>(wide.size()), &length, text.data(),
        static_cast<std::int32_t>(text.size()), 0xFFFD, nullptr, &status);
    wide.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return wide;
}

/// Returns the collation bytes of a name, ending in a zero byte.
std::string collated(const UCollator* collator, const std::u16string& name)
{
    const auto length = static_cast<std::int32_t>(name.size());
    std::string bytes(4 * name.size() + 16, '\0');
    for (;;) {
        const auto needed = ucol_getSortKey(collator, name.data(), length,
            reinterpret_cast<std::uint8_t*>(bytes.data()), static_cast<std::int32_t>(bytes.size()));
        const bool fits = static_cast<std::size_t>(needed) <= bytes.size();
        bytes.resize(static_cast<std::size_t>(needed));
        if (fits)
            return bytes;
    }
}

} // namespace

NaturalSortKey naturalSortKey(const std::string& name)
{
    // A collator serves one thread and is expensive to make.
    static thread_local const Collator collator = makeCollator();
    NaturalSortKey key;
    if (collator)
        key.bytes_ = collated(collator.get(), toUTF16(name));
    // Decides between names that are equal in the locale.
    key.bytes_ += name;
    return key;
}
