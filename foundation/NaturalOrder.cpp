#include "foundation/NaturalOrder.h"

#include "foundation/QtText.h"

#include <QCollator>
#include <QLocale>

namespace {

QCollator makeCollator()
{
    // The C locale has no collation: it would sort by bytes.
    const QLocale user;
    QCollator collator(user.language() == QLocale::C ? QLocale(QLocale::English) : user);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

} // namespace

std::strong_ordering NaturalSortKey::operator<=>(const NaturalSortKey& other) const
{
    if (!collated_ || !other.collated_)
        return collated_.has_value() <=> other.collated_.has_value();
    const int order = collated_->compare(*other.collated_);
    return order != 0 ? order <=> 0 : name_ <=> other.name_;
}

NaturalSortKey naturalSortKey(const std::string& name)
{
    // A collator serves one thread, and costs much to make.
    static thread_local const QCollator collator = makeCollator();
    NaturalSortKey key;
    key.collated_ = collator.sortKey(toQString(name));
    key.name_ = name;
    return key;
}
