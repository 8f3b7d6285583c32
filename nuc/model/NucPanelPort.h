#pragma once

#include "LogType.h"

#include <QString>

#include <functional>

// What the map workflows need from the panel they run in: its dialogs (the
// panel shows them through the program's one dialog seam), its log, its one
// file task on the thread pool and its progress dialog. Tests answer from a
// script instead.
class NucPanelPort
{
public:
    // The window a chooser belongs to: the panel, or none at all.
    enum class Owner
    {
        Panel,
        None
    };

    virtual ~NucPanelPort() = default;

    virtual void information(const QString& title, const QString& text) = 0;
    // Yes and No; true when the answer is Yes.
    virtual bool question(const QString& title, const QString& text, bool noByDefault = false) = 0;
    virtual QString openFileName(Owner owner, const QString& title, const QString& dir,
                                 const QString& filter) = 0;
    virtual QString saveFileName(const QString& title, const QString& dir,
                                 const QString& filter) = 0;
    // Folders only; symbolic links are resolved when resolveLinks.
    virtual QString existingDirectory(Owner owner, const QString& title, const QString& dir,
                                      bool resolveLinks) = 0;
    // May be called from the file task's thread.
    virtual void log(const QString& text, LogType type) = 0;
    // Runs work on the thread pool as the panel's one file task; its end is
    // reported under name.
    virtual void startFileTask(const QString& name, std::function<bool()> work) = 0;
    // The transfer progress dialog: a percentage, or finished (value -1 after
    // a file task, 100 after a raw memory upload, which offers the User Set).
    virtual void progress(bool finished, int value) = 0;
};
