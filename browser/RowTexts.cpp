#include "browser/RowTexts.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <chrono>
#include <optional>
#include <string_view>

namespace {

constexpr std::string_view unverifiedMark = "unverified:";
constexpr std::size_t checksumPrefixLength = 10;

/// Returns whether it is a line break, another control character, or a mark like U+202E that reverses the direction of
/// text.
bool misleads(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        break;
    }
    const auto code = character.unicode();
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E)
        || (code >= 0x2066 && code <= 0x2069);
}

std::string dateOf(std::int64_t milliseconds)
{
    return dateText(std::chrono::system_clock::time_point(std::chrono::milliseconds(milliseconds)));
}

std::string exactBytes(std::int64_t bytes)
{
    return countText(bytes, "byte", "bytes");
}

void addLine(std::string& text, const std::string& line)
{
    if (line.empty())
        return;
    if (!text.empty())
        text += '\n';
    text += line;
}

bool hasContent(const BrowserRow& row)
{
    return row.kind == RowKind::file || row.kind == RowKind::placeholder;
}

/// The retention in force, or null.
const B2FileRetention* retentionOf(const BrowserRow& row)
{
    const auto* const retention = row.file.fileRetention ? row.file.fileRetention->value() : nullptr;
    return retention && retention->mode ? retention : nullptr;
}

std::string retentionHelp(const BrowserRow& row)
{
    const auto* const retention = retentionOf(row);
    if (!retention)
        return {};
    std::string text = "Locked";
    if (retention->retainUntilTimestamp)
        text += " until " + dateOf(*retention->retainUntilTimestamp);
    return text
        + (*retention->mode == B2DefaultRetention::Mode::compliance
                ? " in compliance mode: nobody can delete it before then"
                : " in governance mode: only a key that may bypass governance can delete it before then");
}

/// The digest the service or the uploader recorded, and whether the service checked it.
struct Checksum {
    std::string digest;
    bool isVerified = true;
    bool isOfLargeFile = false;
};

std::optional<Checksum> checksumOf(const BrowserRow& row)
{
    if (const auto& sha1 = row.file.contentSHA1; sha1 && !sha1->empty() && *sha1 != "none") {
        if (sha1->starts_with(unverifiedMark))
            return Checksum{sha1->substr(unverifiedMark.size()), false, false};
        return Checksum{*sha1, true, false};
    }
    if (const auto whole = row.file.largeFileSHA1(); whole && !whole->empty())
        return Checksum{*whole, false, true};
    return std::nullopt;
}

} // namespace

std::string shownText(const std::string& text)
{
    auto line = toQString(text);
    for (auto& character : line) {
        if (misleads(character))
            character = QChar::ReplacementCharacter;
    }
    return fromQString(line);
}

std::string shownName(const BrowserRow& row)
{
    return shownText(row.name);
}

std::string kindText(RowKind kind)
{
    switch (kind) {
    case RowKind::folder:
    case RowKind::placeholder:
        return "Folder";
    case RowKind::file:
        return "File";
    case RowKind::hidden:
        return "Hidden";
    case RowKind::unfinished:
        return "Unfinished";
    }
    return {};
}

std::string kindHelp(RowKind kind)
{
    switch (kind) {
    case RowKind::placeholder:
        return "Keeps the folder listed while it has no other files. Deleting it removes the empty folder";
    case RowKind::hidden:
        return "Hidden, not deleted. Still stored and billed";
    case RowKind::unfinished:
        return "An abandoned large-file upload. Its parts are stored and billed";
    case RowKind::folder:
    case RowKind::file:
        return {};
    }
    return {};
}

std::string sizeCellText(const BrowserRow& row)
{
    return hasContent(row) ? sizeText(row.file.contentLength) : std::string();
}

std::string sizeHelp(const BrowserRow& row)
{
    return hasContent(row) ? exactBytes(row.file.contentLength) : std::string();
}

std::string modifiedText(const BrowserRow& row)
{
    return row.kind == RowKind::folder ? std::string() : dateOf(row.modified);
}

std::string modifiedHelp(const BrowserRow& row)
{
    if (row.kind == RowKind::folder)
        return {};
    std::string help;
    if (row.modified != row.file.uploadTimestamp)
        help = "Modified " + dateOf(row.modified) + ", as the uploader recorded it";
    const char* const event = row.kind == RowKind::hidden ? "Hidden "
        : row.kind == RowKind::unfinished                 ? "Upload started "
                                                          : "Uploaded ";
    addLine(help, event + dateOf(row.file.uploadTimestamp));
    return help;
}

std::string stateText(const BrowserRow& row)
{
    std::string text = kindText(row.kind);
    if (retentionOf(row))
        text += " · Locked";
    if (row.file.legalHold == B2LegalHold::on)
        text += " · Legal hold";
    if (row.file.usesCustomerKey())
        text += " · Own key";
    else if (row.file.usesServerKey())
        text += " · Encrypted";
    return text;
}

std::string stateHelp(const BrowserRow& row)
{
    std::string help = kindHelp(row.kind);
    addLine(help, retentionHelp(row));
    if (row.file.legalHold == B2LegalHold::on)
        addLine(help, "A legal hold is on: nobody can delete it before the hold is taken off");
    if (row.file.usesCustomerKey())
        addLine(help, "Encrypted with a key that only its owner has (SSE-C)");
    else if (row.file.usesServerKey())
        addLine(help, "Encrypted by Backblaze with a key it keeps (SSE-B2)");
    return help;
}

std::string replicationText(const BrowserRow& row)
{
    if (!row.file.replicationStatus)
        return {};
    switch (row.file.replicationStatus->kind()) {
    case B2ReplicationStatus::Kind::pending:
        return "Pending";
    case B2ReplicationStatus::Kind::completed:
        return "Completed";
    case B2ReplicationStatus::Kind::failed:
        return "Failed";
    case B2ReplicationStatus::Kind::replica:
        return "Replica";
    case B2ReplicationStatus::Kind::unknown:
        return shownText(row.file.replicationStatus->text());
    }
    return {};
}

std::string replicationHelp(const BrowserRow& row)
{
    if (!row.file.replicationStatus)
        return {};
    switch (row.file.replicationStatus->kind()) {
    case B2ReplicationStatus::Kind::pending:
        return "Waits to be copied to the destination bucket";
    case B2ReplicationStatus::Kind::completed:
        return "Copied to the destination bucket";
    case B2ReplicationStatus::Kind::failed:
        return "Could not be copied to the destination bucket";
    case B2ReplicationStatus::Kind::replica:
        return "A copy that replication made from another bucket";
    case B2ReplicationStatus::Kind::unknown:
        return "A status this version of the program does not know";
    }
    return {};
}

std::string checksumText(const BrowserRow& row)
{
    if (!hasContent(row))
        return {};
    const auto checksum = checksumOf(row);
    if (!checksum)
        return "Not recorded";
    const auto shown = shownText(checksum->digest);
    return shown.size() > checksumPrefixLength ? shown.substr(0, checksumPrefixLength) + "…" : shown;
}

std::string checksumHelp(const BrowserRow& row)
{
    if (!hasContent(row))
        return {};
    const auto checksum = checksumOf(row);
    if (!checksum)
        return "The uploader recorded no SHA-1 of the whole file, so a download cannot be compared with one";
    const auto digest = "SHA-1 " + shownText(checksum->digest);
    if (checksum->isOfLargeFile)
        return digest + "\nRecorded by the uploader of a large file. Backblaze checked the parts";
    return digest
        + (checksum->isVerified ? "\nChecked by Backblaze when the file was uploaded"
                                : "\nRecorded by the uploader. Backblaze did not check it");
}
