// Implementations of framework interfaces on the library's bases, whose own operations throw.
#include "ORVA/NQF/ClassFactory.h"
#include "ORVA/NQF/InterfacePointer.h"
#include "ORVA/NQF/UnknownBase.h"

#include "components/interface_pointer_support.h"
#include "exceptions/thrown.h"
#include "support/LogRecorder.h"

namespace
{

using namespace components;
using namespace exceptions;
using namespace ORVA::NQF;
using namespace support;

/// An implementation of one's own, on the library's bases.
class OwnObject final : public _cNQFUnknown
{
public:
    explicit OwnObject(unsigned int references) { m_lRefCnt = references; }
    int QueryInterface(_nqfUID const& id, void** out) override
    {
        *out = _queryinterfaceadd(id);
        return *out != nullptr ? 0 : framework_failure;
    }
    unsigned int AddRef() override { return _addRef(); }
    unsigned int Release() override { return _release(); }
    void _destroy() override
    {
        ++ends;
        fuse.call();
    }
    void* _queryinterface(_nqfUID const& id) const override
    {
        fuse.call();
        return _cNQFUnknown::_queryinterface(id);
    }
    void _reserved5() override {}

    unsigned int references() const { return m_lRefCnt; }

    mutable Fuse fuse;
    unsigned int ends = 0;
};

TEST(ThrowingBase, OfAnObjectPassesItsException)
{
    for (Thrown const what : both_kinds)
    {
        OwnObject object(1);
        object.fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { object._queryinterfaceadd(__nqf_uuidof<INQFUnknown>()); }), what);
        EXPECT_EQ(object.references(), 1U) << "no reference is taken";
        object.fuse = Fuse(1, what);
        EXPECT_EQ(thrown_by([&] { object._release(); }), what);
        EXPECT_EQ(object.references(), 0U);
        EXPECT_EQ(object._release(), 0U);
        EXPECT_EQ(object.ends, 1U) << "the object is told of its end once";
    }
}

TEST(ThrowingBase, OfAnObjectIsReportedByTheHandleThatEndsIt)
{
    for (Thrown const what : both_kinds)
    {
        LogRecorder recorder;
        OwnObject object(1);
        CPINQFUnknown handle;
        handle._assign(&object);
        object.fuse = Fuse(1, what);
        EXPECT_FALSE(thrown_by([&] { handle.free(); }).has_value());
        EXPECT_FALSE(handle);
        EXPECT_EQ(recorder.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
    }
}

class OwnFactory final : public _csFactory
{
public:
    int _createinstance(_nqfUID const&, void** out) override
    {
        fuse.call();
        *out = this;
        return 1;
    }
    Fuse fuse;
};

TEST(ThrowingBase, OfAClassFactoryPassesItsException)
{
    for (Thrown const what : both_kinds)
    {
        OwnFactory factory;
        factory.fuse = Fuse(1, what);
        void* out = nullptr;
        EXPECT_EQ(thrown_by([&] { factory.CreateInstance(nullptr, nullptr, own_interface, &out); }), what);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(factory.CreateInstance(nullptr, nullptr, own_interface, &out), eFactorySuccess);
        EXPECT_EQ(out, &factory);
    }
}

} // namespace
