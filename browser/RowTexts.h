#pragma once

#include "browser/BrowserRow.h"

#include <string>

/// The texts of the cells in the browser's table, and their tooltips. Empty where there is none.
///
/// Made when a cell is painted. Takes some microseconds; callable from any thread.

/// Returns the row's name on one line; control characters and marks that reverse the direction of text become U+FFFD.
std::string shownName(const BrowserRow& row);
/// Returns `text` in the same form.
std::string shownText(const std::string& text);

/// "Folder", "File", "Hidden" or "Unfinished".
std::string kindText(RowKind kind);
std::string kindHelp(RowKind kind);

/// The size, or nothing for a row without content.
std::string sizeCellText(const BrowserRow& row);
std::string sizeHelp(const BrowserRow& row);

std::string modifiedText(const BrowserRow& row);
std::string modifiedHelp(const BrowserRow& row);

/// The kind and what protects the version: "File · Locked · Legal hold".
std::string stateText(const BrowserRow& row);
std::string stateHelp(const BrowserRow& row);

std::string replicationText(const BrowserRow& row);
std::string replicationHelp(const BrowserRow& row);

/// The first characters of the SHA-1, "Not recorded", or nothing for a row without content.
std::string checksumText(const BrowserRow& row);
std::string checksumHelp(const BrowserRow& row);
