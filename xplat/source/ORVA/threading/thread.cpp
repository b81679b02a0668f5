#include "ORVA/Threading/Thread.h"

#include "threading/deadline.h"
#include "threading/stack_size.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/Threading/CurrentThread.h"

#include <boost/chrono/duration.hpp>

#include <unistd.h>

#include <utility>

namespace ORVA::Threading
{

namespace
{

constexpr unsigned int terminate_patience = 5000; // milliseconds

boost::thread start(_cThreadFunctor const& functor, unsigned long stack_size)
{
    if (stack_size == 0)
        return boost::thread(functor);
    boost::thread::attributes attributes;
    attributes.set_stack_size(stack_size_for(stack_size, static_cast<unsigned long>(sysconf(_SC_PAGESIZE))));
    return boost::thread(attributes, functor);
}

} // namespace

_cThreadFunctor::_cThreadFunctor(Buffers::CPObjectMemory const& source)
{
    if (&source == &m_block)
        return;
    m_offset = m_block.queryinterface(source, __nqf_uuidof<IThreadExecute>());
    if (m_offset != -1)
        m_block = source;
}

void _cThreadFunctor::operator()()
{
    if (m_block)
        reinterpret_cast<IThreadExecute*>(static_cast<char*>(m_block.get_ptr()) + m_offset)->execute();
}

_cThread::_cThread() = default;

// What the join throws on the thread itself is dropped: `boost::thread` lets go of whatever is left.
_cThread::~_cThread()
{
    try
    {
        boost::this_thread::disable_interruption const uninterrupted;
        Terminate();
    }
    catch (...)
    {
    }
}

bool _cThread::Execute(Buffers::CPObjectMemory& context, unsigned long stackSize)
{
    if (m_thread.joinable())
        return false;
    _cThreadFunctor const functor(context);
    if (!functor)
        return false;
    m_thread = start(functor, stackSize);
    return true;
}

long _cThread::Wait(unsigned int milliseconds)
{
    if (!m_thread.joinable())
        return -2;
    try
    {
        if (milliseconds != wait_without_limit)
            return m_thread.try_join_until(deadline_after(milliseconds)) ? 0 : -1;
        m_thread.join();
        return 0;
    }
    catch (boost::thread_interrupted const&)
    {
        return -3;
    }
}

bool _cThread::Terminate()
{
    if (!m_thread.joinable())
        return true;
    m_thread.interrupt();
    if (m_thread.try_join_until(deadline_after(terminate_patience)))
        return true;
    m_thread.detach();
    return false;
}

void _create_cThread(void* payload, unsigned long)
{
    static_assert(alignof(_cThread) <= 16, "a payload is aligned to 16 bytes");
    new (payload, _nqfDebugLevel(0)) _cThread();
}

void _finalize_cThread(void* payload, unsigned long)
{
    static_cast<_cThread*>(payload)->~_cThread();
}

Buffers::tagCPOVTABL const _vtbl_cThread = {&_create_cThread, nullptr, &_finalize_cThread,
                                            &Buffers::CPObjectMemory::_nointerface};

CPThread::CPThread(Buffers::CPObjectMemory const& source)
{
    if (source.IsAssignable(sizeof(_cThread), &_vtbl_cThread))
        CopyCPMemory(source);
}

CPThread& CPThread::operator=(Buffers::CPObjectMemory const& source)
{
    if (source.IsAssignable(sizeof(_cThread), &_vtbl_cThread))
        CopyCPMemory(source);
    else
        free();
    return *this;
}

bool CPThread::Execute(Buffers::CPObjectMemory& context, unsigned long stackSize)
{
    if (m_pMH != nullptr || !Alloc(sizeof(_cThread), &_vtbl_cThread))
        return false;
    _create_cThread(get_ptr(), sizeof(_cThread));
    return static_cast<_cThread*>(get_ptr())->Execute(context, stackSize);
}

long CPThread::Wait(unsigned int milliseconds)
{
    if (m_pMH == nullptr)
        return -2;
    long const result = static_cast<_cThread*>(get_ptr())->Wait(milliseconds);
    if (result != -1)
        free();
    return result;
}

bool CPThread::Terminate()
{
    if (m_pMH == nullptr)
        return true;
    bool const ended = static_cast<_cThread*>(get_ptr())->Terminate();
    free();
    return ended;
}

} // namespace ORVA::Threading

namespace ORVA::Threading::CurrentThread
{

void sleep(unsigned int milliseconds)
{
    boost::this_thread::sleep_for(boost::chrono::milliseconds(milliseconds));
}

} // namespace ORVA::Threading::CurrentThread
