#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class QCommandLineParser;
class QTextStream;

// Exit status of every subcommand.
enum CliExit
{
    ExitOk = 0,
    ExitFailed = 1, // the work itself failed: a file was refused, unreadable or malformed
    ExitUsage = 2   // the command line was wrong
};

// One subcommand of orvex-nuc. arguments holds the program name, then the
// subcommand's own name and its arguments, ready for a QCommandLineParser.
struct CliCommand
{
    QString name;
    QString summary;
    std::function<int(const QStringList& arguments)> run;
};

// All subcommands in the order the help lists them. A new subcommand is one
// more entry here and a file of its own.
const QList<CliCommand>& cliCommands();

// Shared output streams (stdout for results, stderr for progress and errors).
QTextStream& cliOut();
QTextStream& cliErr();

// Parses a subcommand's arguments with --help added. Returns -1 when the
// command should go on, otherwise the exit status to end with (0 after --help,
// ExitUsage after a parse error, which it reports).
int parseSubcommand(QCommandLineParser& parser, const QStringList& arguments);

// Reports a usage error of the named subcommand and returns ExitUsage.
int usageError(const QString& command, const QString& text);
