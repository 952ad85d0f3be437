#pragma once

#include <QObject>
#include <QTimer>

#include <set>
#include <string>

/// Where everything that changes what a bucket holds reports it, and where everything that shows a bucket hears of it.
///
/// Lives on the main thread.
class BucketWrites final : public QObject {
    Q_OBJECT

public:
    explicit BucketWrites(QObject* parent = nullptr);

    /// Something was, or may have been, written to the bucket or deleted from it.
    void note(const std::string& bucketID);

Q_SIGNALS:
    /// At once, for each write: what is remembered of the bucket is out of date. Costs must be small.
    void written(const std::string& bucketID);
    /// At once for the first write, then at most once a second for all since: time to read the bucket again.
    void settled(const std::string& bucketID);

private:
    void announce();

    std::set<std::string> pending_;
    QTimer gathering_;
};
