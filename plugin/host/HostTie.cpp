// SPDX-License-Identifier: MIT
// Contexts of hosts, and which of them the running call goes by.
#include "host/HostTie.h"

#include <atomic>

namespace {

std::atomic<const HostTie*> firstWithContext = nullptr;

void ForgetFirst(const HostTie* tie) { firstWithContext.compare_exchange_strong(tie, nullptr); }

} // namespace

HostTie::~HostTie() { ForgetFirst(this); }

zxresult HostTie::setContext(ZxObject* context)
{
    ForgetFirst(this);
    m_Context.clear();
    if (!context)
        return kZxOk;
    const zxresult result = m_Context.query(context, kZxIdContext);
    const HostTie* none = nullptr;
    if (m_Context)
        firstWithContext.compare_exchange_strong(none, this);
    return result;
}

const CZxLoc_Context& HostTie::contextAtWork()
{
    static const CZxLoc_Context none;
    if (const std::shared_ptr<HostTie>& tie = TieScope::current(); tie && tie->m_Context)
        return tie->m_Context;
    const HostTie* first = firstWithContext.load();
    return first ? first->m_Context : none;
}
