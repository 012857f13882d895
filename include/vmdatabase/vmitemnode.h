// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmnode.h>

#include <array>

class VmPolicy;

/// One virtual machine inside a pool: a node with ten policy records that it creates and owns.
///
/// Thread-safe while it exists: the set of records never changes, and VmNode and VmPolicy lock their own values. The
/// caller keeps the item alive while it uses a record.
class VMDATABASE_EXPORT VmItemNode : public VmNode
{
    Q_OBJECT
    Q_DISABLE_COPY(VmItemNode)

public:
    /// An item for \a poolNode, which may be null. Nothing is read from it and it does not become the QObject parent.
    /// The item's nodeType is VdiVM::ItemNode and its only value "0" under VdiVM::ItemActiveKey. Its creator writes its
    /// uuid.
    explicit VmItemNode(VmNode *poolNode);

    /// Releases the policy records. Compatibility: that of type 10 stays allocated.
    ~VmItemNode() override;

    /// Returns the record of policy \a type, the same one on every call and valid as long as the item; null for 5, for
    /// negative numbers and for those above 10. No lock. Logs nothing.
    VmPolicy *getVmPolicy(int type);

private:
    [[maybe_unused]] VmNode *pool;  // Compatibility: not owned and never read; clients are built against the layout
    QMap<int, VmPolicy *> policies; // by VdiVM::PolicyType; owns the records

    // An index of policies. Without it the read of a policy takes a tenth longer.
    std::array<VmPolicy *, 11> policyByType{};
};
