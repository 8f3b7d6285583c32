#pragma once

#include "NucPanelPort.h"

#include <QList>
#include <QStringList>
#include <QVariant>

// The panel's side of the map workflows for tests of the model: records what
// was asked ("kind title: text"), answers from a queue (a bool for a question,
// a QString for a chooser; an empty queue answers No and nothing), runs each
// file task at once and records its name and outcome, the log lines
// ("type text") and the progress reports.
class ScriptedPort : public NucPanelPort
{
public:
    struct Call
    {
        QString kind; // information, question, open, save or folder
        QString title;
        QString text; // message text, or the chooser's start folder
        QString filter;
        bool owned = true; // a chooser belongs to the panel
    };

    QList<Call> calls;
    QList<QVariant> answers;
    QStringList tasks; // "name" or "name failed"
    QStringList logs;
    QList<int> progressValues; // -1 - value when finished

    // "kind title" of every call, for the order of dialogs.
    QStringList titles() const
    {
        QStringList list;
        for (const Call& call : calls)
            list << call.kind + " " + call.title;
        return list;
    }
    Call last() const { return calls.isEmpty() ? Call() : calls.last(); }

    void information(const QString& title, const QString& text) override
    {
        calls.append({"information", title, text, QString()});
    }
    bool question(const QString& title, const QString& text, bool) override
    {
        calls.append({"question", title, text, QString()});
        return !answers.isEmpty() && answers.takeFirst().toBool();
    }
    QString openFileName(Owner owner, const QString& title, const QString& dir,
                         const QString& filter) override
    {
        return choose({"open", title, dir, filter, owner == Owner::Panel});
    }
    QString saveFileName(const QString& title, const QString& dir, const QString& filter) override
    {
        return choose({"save", title, dir, filter});
    }
    QString existingDirectory(Owner owner, const QString& title, const QString& dir, bool) override
    {
        return choose({"folder", title, dir, QString(), owner == Owner::Panel});
    }
    void log(const QString& text, LogType type) override
    {
        logs << QString("%1 %2").arg(int(type)).arg(text);
    }
    void startFileTask(const QString& name, std::function<bool()> work) override
    {
        tasks << (work() ? name : name + " failed");
    }
    void progress(bool finished, int value) override
    {
        progressValues << (finished ? -1 - value : value);
    }

private:
    QString choose(const Call& call)
    {
        calls.append(call);
        return answers.isEmpty() ? QString() : answers.takeFirst().toString();
    }
};
