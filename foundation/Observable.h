#pragma once

#include <QObject>
#include <QThread>

#include <concepts>
#include <utility>

/// A model that announces when something its readers may show has changed. Lives on the main thread.
class Observable : public QObject {
    Q_OBJECT

public:
    explicit Observable(QObject* parent = nullptr);

    /// Asks for `changed()` in the next turn of the loop; several calls before then give one signal.
    void markChanged();

    /// Announces a pending change at once.
    void flushChanges();

Q_SIGNALS:
    void changed();

protected:
    bool event(QEvent* event) override;

private:
    bool isMarked_ = false;
};

/// A field of an `Observable`: assigning a new value marks the owner, assigning an equal one does nothing.
///
/// Read as `*field` or `field->member`. A type without `==` counts as changed with every assignment.
template <class T>
class Observed {
public:
    explicit Observed(Observable* owner, T initial = T())
        : owner_(owner)
        , value_(std::move(initial))
    {
    }
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;

    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    Observed& operator=(T value)
    {
        Q_ASSERT(owner_->thread() == QThread::currentThread());
        if constexpr (std::equality_comparable<T>) {
            if (value_ == value)
                return *this;
        }
        value_ = std::move(value);
        owner_->markChanged();
        return *this;
    }

    /// Changes the value in place and marks the owner in any case: `rows.update([&](auto& all) { all.push_back(row);
    /// })`.
    ///
    /// @returns what `change` returns.
    template <class Change>
    decltype(auto) update(Change&& change)
    {
        Q_ASSERT(owner_->thread() == QThread::currentThread());
        owner_->markChanged();
        return std::forward<Change>(change)(value_);
    }

private:
    Observable* owner_;
    T value_;
};
