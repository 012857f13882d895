// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "records/recordaccess_p.h"
#include "rules/visibility_p.h"
#include "vmdatabase/vdivm.h"

/// A stored pool as the rules see it. Each value is read when a rule asks for it.
class StoredPool
{
public:
    explicit StoredPool(VmPoolNode *pool)
        : m_pool(pool)
    {}

    uint poolType() const { return VmRecordAccess::toUnsigned(m_pool, VdiVM::PoolTypeKey); }
    bool isGrouped() const { return !VmRecordAccess::isEqual(m_pool, VdiVM::GroupKey, QString()); }
    bool allowsSeveral() const { return VmRecordAccess::toSigned(m_pool, VdiVM::AllowMultiDynamicKey) != 0; }
    bool isPreferred() const { return VmRecordAccess::toUnsigned(m_pool, VdiVM::PreferredKey) != 0; }
    bool holdsItem() const { return m_pool->getItemCount() > 1; } // it counts itself
    uint failed() const { return VmRecordAccess::toUnsigned(m_pool, VdiVM::FailedToConnectKey); }
    Rules::Rank rank() const
    {
        return {failed(), VmRecordAccess::toUnsigned(m_pool, VdiVM::PreferredKey),
                VmRecordAccess::toUnsigned(m_pool, VdiVM::PriorityKey)};
    }

    void set(Rules::Visibility visibility) const { m_pool->setValue(VdiVM::HiddenKey, Rules::hiddenText(visibility)); }

private:
    VmPoolNode *m_pool;
};
