// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmpoolnode.h"

#include "records/recordaccess_p.h"
#include "records/vmindex_p.h"
#include "vmdatabase/vdivm.h"

#include <algorithm>
#include <utility>

VmPoolNode::VmPoolNode(QObject *parent)
    : VmNode(parent)
{}

VmPoolNode::~VmPoolNode()
{
    clearVmItem();
}

void VmPoolNode::appendVmItem(VmNode *item, const QString &uuid)
{
    VmIndex::put(items, itemsByUuid, uuid, item);
}

VmNode *VmPoolNode::getVmItem(const QString &uuid)
{
    return itemsByUuid.value(uuid);
}

bool VmPoolNode::isExistVmItem(const QString &uuid)
{
    return itemsByUuid.contains(uuid);
}

void VmPoolNode::removeVmItem(const QString &uuid)
{
    const auto it = items.find(uuid); // clazy:exclude=detaching-member (writes)
    if (it == items.end() || !it.value())
        return;
    delete it.value();
    VmIndex::take(items, itemsByUuid, it);
}

void VmPoolNode::clearVmItem()
{
    qDeleteAll(items);
    VmIndex::clear(items, itemsByUuid);
}

int VmPoolNode::getItemCount()
{
    return items.size() + 1;
}

QList<VmNode *> VmPoolNode::getVmItemList()
{
    return items.values();
}

QList<VmNode *> VmPoolNode::getItemList()
{
    return items.values() << this; // clazy:exclude=container-anti-pattern (the list is the answer)
}

VmNode *VmPoolNode::getDynamicVmItem()
{
    return items.size() == 1 ? std::as_const(items).first() : nullptr;
}

bool VmPoolNode::haveActiveItem()
{
    return std::any_of(items.cbegin(), items.cend(),
                       [](VmNode *item) { return item && RecordAccess::toUnsigned(item, VdiVM::ItemActiveKey) == 1; });
}
