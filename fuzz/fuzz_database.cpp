// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Calls every operation of VmDatabase as the bytes of an input say: which one, and with what arguments.

#include "fuzztarget.h"
#include "operations/operations.h"

#include <vmdatabase/vmdatabase.h>

#include <fuzzer/FuzzedDataProvider.h>
#include <tuple>
#include <vector>

using Input = FuzzedDataProvider;
template <typename Value>
static Value take(Input &in)
{
    static constexpr int numbers[] = {0, 1, 2, 3, 4, 10, 11, 13, 100, 204, 301, 305, 306, 307, 308, 309, -1};
    static constexpr const char *texts[] = {"", "p", "q", "i", "j", "0", "1", "2", "3", "9", "-1", "%1", "%2%1"};
    const unsigned choice = in.ConsumeIntegral<uint8_t>();
    if constexpr (std::is_same_v<Value, QJsonObject>) {
        return {{take<QString>(in), take<QString>(in)}};
    } else if constexpr (!std::is_same_v<Value, QString>) {
        return Value(choice < 240 ? numbers[choice % std::size(numbers)] : in.ConsumeIntegral<int>());
    } else {
        if (choice < 224)
            return choice % 16 < 13 ? QString::fromLatin1(texts[choice % 16]) : QString();
        if (choice == 255 && in.remaining_bytes() < 64) // near the end, so that no input takes long
            return QString(1 << 20, QChar(0xd800));
        const std::string units = in.ConsumeBytesAsString(size_t(choice - 224) * sizeof(QChar));
        return QString(reinterpret_cast<const QChar *>(units.data()), int(units.size() / sizeof(QChar)));
    }
}

template <typename Result, typename... Parameters>
static void call(VmDatabase &db, Result (VmDatabase::*operation)(Parameters...), Input &in)
{
    std::tuple<std::decay_t<Parameters>...> arguments{take<std::decay_t<Parameters>>(in)...};
    std::apply([&](auto &...argument) { static_cast<void>((db.*operation)(argument...)); }, arguments);
    ++calls;
}

struct FuzzCall
{
    void (*make)(VmDatabase &, Input &);
    bool needsOpen;
};

// Each once, and several times what builds the most. Derived, so that the list needs no qualified names.
struct Calls : Operation
{
    static std::vector<FuzzCall> all()
    {
        std::vector<FuzzCall> made;
#define OPERATION(name, parameters, arguments, keys, hides, subject, traits, touches)                                  \
    if (!((traits)&Closes))                                                                                            \
        made.insert(                                                                                                   \
            made.end(), size_t((traits)&Writes ? 2 : 1),                                                               \
            FuzzCall{[](VmDatabase &db, Input &in) { call(db, &VmDatabase::name, in); }, ((traits)&NeedsOpen) != 0});
#include "operations/operationlist.h"
#undef OPERATION
        return made;
    }
};

// Qt keeps the spent entries of its queue until it is asked for events of every type.
static void runDeferredDeletions()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::sendPostedEvents();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<FuzzCall> operations = Calls::all();
    VmDatabase db;
    bool isOpen = true;
    for (Input in(data, size); in.remaining_bytes() > 0;) {
        const size_t choice = in.ConsumeIntegral<uint8_t>();
        isOpen = isOpen && choice != 255;
        if (!isOpen)
            db.clear(); // which does nothing a second time
        if (choice >= 250)
            runDeferredDeletions();
        else if (const FuzzCall &made = operations[choice % operations.size()]; isOpen || !made.needsOpen)
            made.make(db, in);
    }
    if (size % 4) // else those that are left stay allocated, for compatibility
        db.clearRemoteAppList();
    db.clear();
    runDeferredDeletions();
    return 0;
}
