#pragma once

#include <QStringList>

/// Shows files in the desktop's file manager with the files selected, or opens their folder where no file manager
/// answers. Returns at once; needs no answer.
void revealInFileManager(const QStringList& paths);

inline void revealInFileManager(const QString& path)
{
    revealInFileManager(QStringList(path));
}
