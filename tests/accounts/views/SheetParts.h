#pragma once

#include "B2Kit/B2Key.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QString>

inline B2CreatedApplicationKey createdKey()
{
    return {"K004secret", {.applicationKeyID = "0044a1b2c3d4e5f0000000007", .keyName = "backup"}};
}

inline QPushButton* buttonOf(QWidget& sheet, const QString& text)
{
    for (auto* const button : sheet.findChildren<QPushButton*>()) {
        if (button->text() == text && !button->isHidden())
            return button;
    }
    return nullptr;
}

inline QCheckBox* boxOf(QWidget& sheet, const QString& start)
{
    for (auto* const box : sheet.findChildren<QCheckBox*>()) {
        if (box->text().startsWith(start))
            return box;
    }
    return nullptr;
}

inline QString textsOf(const QWidget& sheet)
{
    QString texts;
    for (const auto* const label : sheet.findChildren<QLabel*>()) {
        if (!label->isHidden())
            texts += label->text() + u'\n';
    }
    return texts;
}
