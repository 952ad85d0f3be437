#pragma once

#include <QLabel>

/// A link that opens a page of the web in the user's browser, reached by keyboard too.
class LinkLabel final : public QLabel {
    Q_OBJECT

public:
    LinkLabel(const QString& text, const QString& address, QWidget* parent = nullptr);

    const QString& address() const { return address_; }

private:
    QString address_;
};

/// The service's own pages.
struct WebPages {
    static inline const QString applicationKeys = QStringLiteral("https://secure.backblaze.com/app_keys.htm");
    static inline const QString signUp = QStringLiteral("https://www.backblaze.com/sign-up/cloud-storage");
};
