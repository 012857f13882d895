// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmitemnode.h"

#include "vmdatabase/vdivm.h"
#include "vmdatabase/vmpolicy.h"

// Compatibility: there is no record of type 5.
static constexpr int policyTypes[] = {0, 1, 2, 3, 4, 6, 7, 8, 9, 10};

// Compatibility: the record of type 10 is never released, and the others are released in this order.
static constexpr int releasedPolicyTypes[] = {0, 1, 2, 3, 7, 4, 6, 8, 9};

VmItemNode::VmItemNode(VmNode *poolNode)
    : pool(poolNode)
{
    nodeType = VdiVM::ItemNode;
    for (const int type : policyTypes)
        policies.insert(type, policyByType[size_t(type)] = new VmPolicy);
    setValue(VdiVM::ItemActiveKey, QStringLiteral("0"));
}

VmItemNode::~VmItemNode()
{
    for (const int type : releasedPolicyTypes)
        delete policies.value(type);
}

VmPolicy *VmItemNode::getVmPolicy(int type)
{
    return type >= 0 && type < int(policyByType.size()) ? policyByType[size_t(type)] : nullptr;
}
