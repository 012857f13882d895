// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmpoolnode.h"

#include "records/recordaccess_p.h"
#include "rules/facts_p.h"
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
    itemIndex.insert(items, uuid, uuid, item);
}

VmNode *VmPoolNode::getVmItem(const QString &uuid)
{
    return itemIndex.value(uuid);
}

bool VmPoolNode::isExistVmItem(const QString &uuid)
{
    return itemIndex.contains(uuid);
}

void VmPoolNode::removeVmItem(const QString &uuid)
{
    VmNode *item = getVmItem(uuid);
    if (!item)
        return;
    delete item;
    // What is connected to destroyed() may have removed the entry.
    const auto it = items.find(uuid); // clazy:exclude=detaching-member (writes)
    if (it != items.end())
        itemIndex.remove(items, it);
}

void VmPoolNode::clearVmItem()
{
    qDeleteAll(items);
    itemIndex.takeAll(items);
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
    return items.values() << this; // clazy:exclude=container-anti-pattern (the list is returned)
}

VmNode *VmPoolNode::getDynamicVmItem()
{
    return items.size() == 1 ? std::as_const(items).first() : nullptr;
}

bool VmPoolNode::haveActiveItem()
{
    return std::any_of(items.cbegin(), items.cend(), [](VmNode *item) {
        return item && Rules::isActive(VmRecordAccess::toUnsigned(item, VdiVM::ItemActiveKey));
    });
}
