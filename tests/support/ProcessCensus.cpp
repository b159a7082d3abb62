#include "support/ProcessCensus.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

static bool isChildOfOurs(const QString &identifier)
{
    QFile status(u"/proc/%1/status"_s.arg(identifier));
    if (!status.open(QIODevice::ReadOnly))
        return false; // ended meanwhile
    return status.readAll().contains("\nPPid:\t" + QByteArray::number(QCoreApplication::applicationPid()) +
                                     '\n');
}

ProcessCensus ProcessCensus::take()
{
    const auto entries = [](const QString &folder) {
        return QDir(folder).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    };
    ProcessCensus census;
    census.descriptors = entries(u"/proc/self/fd"_s).size();
    census.threads = entries(u"/proc/self/task"_s).size();
    for (const QString &name : entries(u"/proc"_s))
        if (name.front().isDigit() && isChildOfOurs(name))
            ++census.children;
    return census;
}

qsizetype residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("/proc/self/statm cannot be read");
    return file.readAll().split(' ').at(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

char *toString(const ProcessCensus &census)
{
    return QTest::toString(u"%1 descriptors, %2 threads, %3 children"_s.arg(census.descriptors)
                               .arg(census.threads)
                               .arg(census.children));
}
