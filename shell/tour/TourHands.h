#pragma once

#include "async/Task.h"

#include <QModelIndex>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <vector>

class QAbstractItemView;
class QMainWindow;
class QWidget;

/// Sends real mouse and keyboard events to the real widgets, as a person would.
namespace TourHands {

void press(QWidget& widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void type(QWidget& widget, const QString& text);
void click(QWidget& widget);
void clickRow(QAbstractItemView& view, const QModelIndex& index, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// Chooses the first enabled line with that text in any menu of the window.
void chooseInMenu(const QMainWindow& window, const QString& text);

/// Drags files over the widget and lets go of them at its lower edge, as a file manager would.
void dropFiles(QWidget& widget, const std::vector<std::filesystem::path>& files);

/// Waits until the condition holds, at most fifteen seconds.
/// @returns whether it held.
Task<bool> until(std::function<bool()> condition);

/// The first row with that text which can be picked; invalid when there is none.
QModelIndex rowOf(const QAbstractItemModel& rows, const QString& text);

/// Gives the window time to paint what was changed last.
Task<> settle();

} // namespace TourHands
