#pragma once

#include "browser/BrowserRow.h"

#include <string>

/// What the cells of the browser's table say, and the help shown when the pointer rests on them. Empty means nothing.
///
/// Made when a cell is painted: some microseconds, from any thread.

/// The row's name on one line, where control characters and marks that turn the direction of text are U+FFFD.
std::string shownName(const BrowserRow& row);
/// `text` in the same manner.
std::string shownText(const std::string& text);

/// "Folder", "File", "Hidden" or "Unfinished".
std::string kindText(RowKind kind);
std::string kindHelp(RowKind kind);

/// The size, or nothing for what has none.
std::string sizeCellText(const BrowserRow& row);
std::string sizeHelp(const BrowserRow& row);

std::string modifiedText(const BrowserRow& row);
std::string modifiedHelp(const BrowserRow& row);

/// The kind and what protects the version: "File · Locked · Legal hold".
std::string stateText(const BrowserRow& row);
std::string stateHelp(const BrowserRow& row);

std::string replicationText(const BrowserRow& row);
std::string replicationHelp(const BrowserRow& row);

/// The first characters of the SHA-1, "Not recorded", or nothing for what has no content.
std::string checksumText(const BrowserRow& row);
std::string checksumHelp(const BrowserRow& row);
