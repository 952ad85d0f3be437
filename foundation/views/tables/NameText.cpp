#include "foundation/views/tables/NameText.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace {

constexpr int maxExtensionLength = 10;
/// Runs up to this length fit on any line; longer ones may break after each piece of this length.
constexpr qsizetype maxWordLength = 32;
constexpr qsizetype pieceLength = 4;
constexpr int maxMeasuredLength = 400;

bool deceives(QChar character)
{
    const char16_t code = character.unicode();
    const bool turnsDirection = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    const bool breaksLine = code == 0x2028 || code == 0x2029;
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || turnsDirection || breaksLine;
}

// Names have up to 1,024 bytes; a middle that cannot be visible need not be measured.
QString clipped(const QString& name)
{
    if (name.size() <= maxMeasuredLength) {
        return name;
    }
    return name.left(maxMeasuredLength / 2) + QChar(0x2026) + name.right(maxMeasuredLength / 2);
}

} // namespace

QString showableName(QString name)
{
    std::ranges::replace_if(name, deceives, QChar(QChar::ReplacementCharacter));
    return name;
}

QString breakable(const QString& text)
{
    QString broken;
    qsizetype begin = 0;
    while (begin < text.size()) {
        auto end = begin;
        while (end < text.size() && !text[end].isSpace())
            ++end;
        const auto word = text.mid(begin, end - begin);
        QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, word);
        qsizetype piece = 0;
        for (auto at = letters.toNextBoundary(); word.size() > maxWordLength && at > 0 && at < word.size();
            at = letters.toNextBoundary()) {
            if (at - piece < pieceLength)
                continue;
            broken += word.mid(piece, at - piece) + QChar(0x200b);
            piece = at;
        }
        broken += word.mid(piece);
        while (end < text.size() && text[end].isSpace())
            broken += text[end++];
        begin = end;
    }
    return broken;
}

QString extensionOf(const QString& name)
{
    const auto dot = name.lastIndexOf(u'.');
    const auto length = name.size() - dot - 1;
    if (dot <= 0 || length < 1 || length > maxExtensionLength || name.indexOf(u' ', dot) >= 0) {
        return {};
    }
    return name.mid(dot);
}

QString elidedName(const QString& name, const QFontMetrics& metrics, int width)
{
    if (name.size() <= maxMeasuredLength && metrics.horizontalAdvance(name) <= width) {
        return name;
    }
    QString middle = metrics.elidedText(clipped(name), Qt::ElideMiddle, width);
    const QString extension = extensionOf(name);
    if (extension.isEmpty() || middle.endsWith(extension)) {
        return middle;
    }
    const int left = width - metrics.horizontalAdvance(extension);
    if (left < metrics.horizontalAdvance(QStringLiteral("mm…"))) {
        return middle;
    }
    return metrics.elidedText(clipped(name.chopped(extension.size())), Qt::ElideRight, left) + extension;
}
