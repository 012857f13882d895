// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "recordedcall.h"

#include "fatalsignals.h"
#include "listener.h"
#include "nextfunction.h"

#include <link.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

std::atomic<RecordedThread *> Recorder::threads{nullptr};

static std::atomic<qint64> lastEntered{0};
static thread_local RecordedThread *currentThread = nullptr;

static qint64 now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    static const qint64 start = qint64(time.tv_sec) * 10000000 + time.tv_nsec / 100;
    return qint64(time.tv_sec) * 10000000 + time.tv_nsec / 100 - start;
}

static void releaseThread(void *thread)
{
    currentThread = nullptr;
    FatalSignals::releaseStack();
    static_cast<RecordedThread *>(thread)->isUsed = false;
}

// Threads that nobody named have the program's name, as the main thread has.
static QString nameOfThread()
{
    static std::atomic<int> last{1};
    if (syscall(SYS_gettid) == getpid())
        return QStringLiteral("main");
    QString number = QString::number(++last);
    char program[17] = "";
    if (FILE *file = std::fopen("/proc/self/comm", "re")) {
        if (std::fgets(program, sizeof(program), file))
            program[std::strcspn(program, "\n")] = '\0';
        std::fclose(file);
    }
    char name[17] = "";
    prctl(PR_GET_NAME, name);
    if (*name == '\0' || std::strcmp(name, program) == 0)
        return number;
    QString text = QString::fromLocal8Bit(name);
    for (const RecordedThread *thread = Recorder::threads; thread; thread = thread->next) {
        if (thread->isUsed && thread->name == text)
            return text + QLatin1Char('-') + number;
    }
    return text;
}

static RecordedThread *takeThread()
{
    for (RecordedThread *thread = Recorder::threads; thread; thread = thread->next) {
        bool isUsed = false;
        if (thread->isUsed.compare_exchange_strong(isUsed, true))
            return thread;
    }
    auto *const thread = new RecordedThread;
    thread->next = Recorder::threads;
    while (!Recorder::threads.compare_exchange_weak(thread->next, thread)) {
    }
    return thread;
}

RecordedThread *Recorder::addThread()
{
    const std::lock_guard<std::mutex> locker(m_mutex); // for the names of all threads
    static const pthread_key_t key = [] {
        pthread_key_t made{};
        pthread_key_create(&made, releaseThread);
        return made;
    }();
    const QString name = nameOfThread();
    currentThread = takeThread();
    currentThread->name = name;
    currentThread->isInLibrary = false;
    currentThread->database = nullptr;
    pthread_setspecific(key, currentThread);
    FatalSignals::provideStack();
    return currentThread;
}

RecordedThread *RecordedThread::current()
{
    return currentThread;
}

RecordedThread *RecordedThread::client()
{
    if (currentThread)
        return currentThread->isInLibrary || !Recorder::instance().isOn() ? nullptr : currentThread;
    return Recorder::instance().isOn() ? Recorder::instance().addThread() : nullptr;
}

struct ForkHandlers
{
    static void prepare()
    {
        Recorder &recorder = Recorder::instance();
        recorder.m_mutex.lock();
        recorder.check.prepareFork();
        recorder.file.prepareFork();
    }
    static void end(bool isChild)
    {
        Recorder &recorder = Recorder::instance();
        recorder.file.endFork(isChild);
        recorder.check.endFork(isChild, currentThread ? currentThread->name : QString());
        recorder.m_mutex.unlock();
        for (RecordedThread *thread = isChild ? Recorder::threads.load() : nullptr; thread; thread = thread->next) {
            if (thread == currentThread)
                continue;
            thread->innermost = nullptr; // its stack is here, but nobody runs on it
            thread->isUsed = false;
        }
    }
    static void endParent() { end(false); }
    static void endChild() { end(true); }
};

static int findLibrary(dl_phdr_info *info, size_t, void *found)
{
    const char *const name = std::strrchr(info->dlpi_name, '/');
    const bool isLibrary = name && std::strncmp(name, "/libvmdatabase.so", 17) == 0;
    *static_cast<bool *>(found) = *static_cast<bool *>(found) || isLibrary;
    return 0;
}

// The last thing that the process does, after all destructors.
static void handleExit(int status, void *)
{
    Recorder &recorder = Recorder::instance();
    if (recorder.options.pid == getpid() && !recorder.file.hasBegun() && recorder.file.isEmpty()) {
        bool isLoaded = false;
        dl_iterate_phdr(findLibrary, &isLoaded);
        const QByteArray why = isLoaded ? "the program loads libvmdatabase.so but called nothing of it"
                                        : "the program does not load libvmdatabase.so; a copy that is linked into it "
                                          "statically cannot be recorded";
        complain("nothing recorded: " + why + (recorder.file.hasForked() ? "; what it started may still call" : ""));
    }
    if (status == 0 && recorder.check.hasFound()) {
        std::fflush(nullptr);
        _exit(1);
    }
}

Recorder::Recorder(const QByteArray &variable)
    : options(RecordOptions::fromJson(variable))
    , file(options)
    , check(file)
    , m_isOn(!options.file.isEmpty())
{
    now(); // time begins
    if (!m_isOn)
        return;
    pthread_atfork(&ForkHandlers::prepare, &ForkHandlers::endParent, &ForkHandlers::endChild);
    on_exit(&handleExit, nullptr);
    FatalSignals::install();
}

Recorder &Recorder::instance()
{
    static auto *const recorder = new Recorder(qgetenv(RecordOptions::variable));
    return *recorder;
}

__attribute__((constructor)) static void begin()
{
    Recorder::instance();
}

void Recorder::add(void *database)
{
    const std::lock_guard<std::mutex> locker(m_mutex);
    m_numbers.insert(database, ++m_lastNumber);
    ++m_generation;
}

void Recorder::remove(void *database)
{
    const std::lock_guard<std::mutex> locker(m_mutex);
    m_numbers.remove(database);
    ++m_generation;
}

int Recorder::numberOf(RecordedThread &thread, void *database)
{
    const quint32 generation = m_generation;
    if (thread.database == database && thread.generation == generation)
        return thread.databaseNumber;
    bool isNew = false;
    {
        const std::lock_guard<std::mutex> locker(m_mutex);
        int &number = m_numbers[database];
        isNew = number == 0;
        if (isNew)
            number = ++m_lastNumber;
        thread.databaseNumber = number;
    }
    thread.database = database;
    thread.generation = generation;
    if (isNew)
        new Listener(static_cast<QObject *>(database)); // made before the recording could see it
    return thread.databaseNumber;
}

// An event loop of the client's deletes: the library itself deletes applications at once, which are no removed ones.
static bool isEventLoop()
{
    return !currentThread || !currentThread->isInLibrary;
}

QString Recorder::nameOfCurrent()
{
    return (currentThread ? currentThread : addThread())->name;
}

void Recorder::deletesPool(void *record)
{
    if (m_isOn && options.checkThreads && isEventLoop())
        check.deletePool(valueOf(record, "_ZN6VmNode8getValueEi", VdiVM::UuidKey), nameOfCurrent());
}

void Recorder::deletesApp(void *record)
{
    if (m_isOn && options.checkThreads && isEventLoop())
        check.deleteApp(valueOf(record, "_ZN9RemoteApp8getValueEi", VdiVM::AppIdKey), nameOfCurrent());
}

RecordedCall::RecordedCall(RecordedThread &thread, void *database, const char *operation, int hides, const void *caller)
    : m_recorder(Recorder::instance())
    , m_thread(thread)
    , m_database(database)
    , m_caller(caller)
    , m_hides(hides)
{
    const QVector<int> &keys = m_recorder.options.redact;
    m_redacts = hides >= 0 && keys.contains(hides);
    m_hidesAnswer = !m_recorder.options.answers || (hides == HidesAnswer && !keys.isEmpty());
    m_line.swap(thread.spareLine);
    m_place.swap(thread.sparePlace);
    m_line.resize(0);
    m_place.resize(0);
    m_line += "{\"call\":[\"";
    m_line += operation;
    m_line += '"';
    if (m_recorder.options.checkThreads)
        m_shownArguments = m_arguments = {QLatin1String(operation)};
}

QString RecordedCall::redacted(const QString &text) const
{
    return text.isEmpty() ? text : QStringLiteral("<%1 characters>").arg(text.size());
}

void RecordedCall::begin()
{
    m_line += ']';
    if (m_recorder.options.checkThreads)
        m_running = m_recorder.check.enter(m_database, m_thread.name, m_caller, m_arguments, m_shownArguments);
    const qint64 entered = ++lastEntered;
    m_began = now();
    CallLine::appendPlace(m_place, m_recorder.numberOf(m_thread, m_database), m_thread.name);
    CallLine::appendAt(m_place, m_began);
    CallLine::appendEntered(m_place, entered);
    m_outer = m_thread.innermost;
    m_isInProgress = true;
    m_thread.innermost = this;
    if (m_recorder.options.stretch > 0)
        usleep(useconds_t(m_recorder.options.stretch));
    m_thread.isInLibrary = true;
}

void RecordedCall::end()
{
    if (!m_isInProgress)
        return;
    m_isInProgress = false;
    m_thread.isInLibrary = false;
    m_ended = now();
    m_thread.innermost = m_outer;
    FatalSignals::letFinish();
    if (m_running)
        m_recorder.check.leave(*m_running);
    m_running.reset();
}

// Also when the call does not return: a handler or slot of the client's has thrown an exception.
RecordedCall::~RecordedCall()
{
    end();
    m_line.swap(m_thread.spareLine);
    m_place.swap(m_thread.sparePlace);
}

void RecordedCall::setFound(bool found, const QString &uuid)
{
    if (m_hidesAnswer)
        return;
    CallLine::appendAnswer(m_line, foundAnswer(found, found ? uuid : QString()));
}

void RecordedCall::write()
{
    if (m_isWritten)
        return;
    m_isWritten = true;
    if (!m_log.isEmpty())
        CallLine::appendLog(m_line, m_log);
    if (m_hasEmitted && m_recorder.options.answers)
        CallLine::appendSignals(m_line, {QStringLiteral("remoteAppsUpdated")});
    m_line += m_place;
    CallLine::appendTook(m_line, m_ended - m_began);
    m_line += "}\n";
    m_recorder.file.write(m_line);
}

void RecordedCall::addLog(QtMsgType type, const QString &text)
{
    if (!m_recorder.options.answers || (type == QtInfoMsg && !m_recorder.options.redact.isEmpty()))
        return; // info lines carry values
    m_log << logText(type, text);
}

void RecordedCall::emits(const void *database, bool isSignal)
{
    if (database != m_database || !m_isInProgress)
        return;
    m_hasEmitted = isSignal;
    end();
    write(); // slots may make calls, which come after this one
}
