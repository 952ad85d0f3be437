#include "shell/tour/TourProcess.h"

#include "foundation/QtText.h"
#include "shell/CommandLine.h"

#include <QCoreApplication>

#include <sstream>

TourProcess::TourProcess(const Demo& demo, const Chapter& chapter)
{
    const auto home = demo.scratch() / chapter.home;
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto* const name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        environment.insert(toQString(name), toQString((home / name).string()));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
    QStringList arguments{QStringLiteral("--endpoint"), toQString(demo.endpoint()), QStringLiteral("--tour"),
        toQString(chapter.pictures.string()), QStringLiteral("--tour-chapter"), toQString(chapter.name),
        QStringLiteral("--tour-file"), toQString(chapter.file.string())};
    if (chapter.hasKey) {
        environment.insert(toQString(applicationKeyVariable), toQString(demo.secrets().front()));
        arguments << QStringLiteral("--key-id") << toQString(demo.firstKeyID());
    }
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(QCoreApplication::applicationFilePath(), arguments);
}

TourProcess::~TourProcess()
{
    process_.kill();
    process_.waitForFinished();
}

void TourProcess::read()
{
    said_ += process_.readAll().toStdString();
}

bool TourProcess::hasSaid(std::string_view text)
{
    read();
    return said_.find(text) != std::string::npos;
}

bool TourProcess::hasSucceeded() const
{
    return hasEnded() && process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0;
}

std::string TourProcess::failures()
{
    read();
    std::string failed;
    std::istringstream lines(said_);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("FAILED") != std::string::npos)
            failed += line + "; ";
    }
    return failed.empty() ? "it ended without a word" : failed;
}
