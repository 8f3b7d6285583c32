// One start of the program as far as the settings store is concerned:
//   orx_settings_runner [--uid N] {get GROUP KEY | set GROUP KEY VALUE}...
// "get" prints GROUP/KEY=<value as text>, one line each. With --uid the run
// drops to that user and group first (exit code 3 when it cannot), so that a
// test run by root still meets folders it may not write to.
#include "OrxSettings.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <grp.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);

    if (args.size() >= 2 && args[0] == "--uid") {
        const uid_t id = args[1].toUInt();
        if (setgroups(0, nullptr) != 0 || setgid(id) != 0 || setuid(id) != 0)
            return 3;
        args = args.mid(2);
    }

    QTextStream out(stdout);
    while (!args.isEmpty()) {
        const QString command = args.takeFirst();
        if (command == "get" && args.size() >= 2) {
            const QString group = args.takeFirst();
            const QString key = args.takeFirst();
            out << group << '/' << key << '='
                << OrxSettings::getInstance()->Get(group, key, QVariant()).toString() << '\n';
        } else if (command == "set" && args.size() >= 3) {
            const QString group = args.takeFirst();
            const QString key = args.takeFirst();
            OrxSettings::getInstance()->Set(group, key, args.takeFirst());
        } else {
            return 2;
        }
    }
    // A start with no command still creates the store, as the program does.
    OrxSettings::getInstance();
    return 0;
}
