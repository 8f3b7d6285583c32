#include "ChildRun.h"

#include <QFile>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <vector>

extern char** environ;

namespace {

QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

ChildRun runChild(const QString& program, const QStringList& arguments, const QString& scratch)
{
    ChildRun run;
    const QByteArray outPath = QFile::encodeName(scratch + "/child.out");
    const QByteArray errPath = QFile::encodeName(scratch + "/child.err");
    std::vector<QByteArray> texts{QFile::encodeName(program)};
    for (const QString& argument : arguments)
        texts.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.constData(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.constData(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return run;

    // wait4 rather than waitpid: the child's own resource figures, not a
    // running total over every child so far.
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) != pid)
        return run;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.peakRssKiB = usage.ru_maxrss;
    run.out = readText(scratch + "/child.out");
    run.err = readText(scratch + "/child.err");
    return run;
}
