#pragma once

#include <QLineEdit>

/// A field that filters or finds: icon, prompt, clear button. Escape empties it, then gives the focus back.
class SearchField final : public QLineEdit {
    Q_OBJECT

public:
    enum class Purpose { search, filter };

    explicit SearchField(const QString& prompt, Purpose purpose = Purpose::search, QWidget* parent = nullptr);

Q_SIGNALS:
    /// Escape in the empty field: whoever lent the focus takes it back.
    void left();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
