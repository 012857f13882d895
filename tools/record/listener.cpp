// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "listener.h"

#include "recordedcall.h"

static void hear(const QObject *database, bool isUpdate)
{
    RecordedThread *const thread = RecordedThread::current();
    if (RecordedCall *const call = thread && thread->isInLibrary ? thread->innermost.load() : nullptr)
        call->emits(database, isUpdate);
}

Listener::Listener(QObject *database)
    : m_database(database)
{
    connect(database, SIGNAL(remoteAppsUpdated()), this, SLOT(hearUpdate()), Qt::DirectConnection);
    connect(database, SIGNAL(destroyed()), this, SLOT(hearDestroyed()), Qt::DirectConnection);
}

void Listener::hearUpdate()
{
    hear(m_database, true);
}

void Listener::hearDestroyed()
{
    hear(m_database, false);
    Recorder::instance().remove(m_database);
    delete this;
}
