#pragma once

#include "foundation/views/style/Icons.h"

#include <QList>
#include <QUrl>
#include <QWidget>

#include <optional>

class QLineEdit;
class QMenu;
class QToolButton;

/// One step of a path.
struct PathSegment {
    QString title;
    QString path; ///< The whole path up to and including this step, as `PathBar::navigate` sends it.
    std::optional<Symbol> symbol;

    bool operator==(const PathSegment&) const = default;
};

/// A path as buttons, the last bold, the middle folded into "…" when there is no room.
///
/// `beginEditing` turns it into a field; Return goes to the path, Escape or leaving restores the buttons. Files dropped
/// on a step are reported with its path.
class PathBar final : public QWidget {
    Q_OBJECT

public:
    explicit PathBar(QWidget* parent = nullptr);

    void setSegments(const QList<PathSegment>& segments);

    void beginEditing();
    bool isEditing() const;

    /// The titles shown from left to right, "…" for the folded ones.
    QStringList shownTitles() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void navigate(const QString& path);
    void dropped(const QList<QUrl>& urls, const QString& path);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QToolButton* makeButton(const PathSegment& segment, bool isLast);
    bool handleDrag(QToolButton* button, QEvent* event);
    bool handleKey(QToolButton* button, QEvent* event);
    void endEditing();
    void fillFoldMenu();
    void arrange();

    QList<PathSegment> segments_;
    QList<QToolButton*> buttons_;
    QList<QToolButton*> shown_;
    int folded_ = 0;
    QToolButton* fold_;
    QMenu* foldMenu_;
    QLineEdit* field_;
};
