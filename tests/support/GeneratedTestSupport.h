#ifndef SKOSG_TESTS_GENERATEDTESTSUPPORT_H
#define SKOSG_TESTS_GENERATEDTESTSUPPORT_H

// Support for the generated per-type round-trip tests: non-default values for every field type
// and generic comparisons through the field descriptions.

#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGFieldContainerType.h>
#include <OpenSG/OSGField.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGMFBaseTypes.h>
#include <OpenSG/OSGAttachmentMapFields.h>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGDynamicVolumeFields.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSGExt/OSGCCPntFields.h>
#include <OpenSGExt/OSGIndexWeightFields.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace gentest {

using namespace osg;

// A value of the given type that depends on the seed and is never the type's default.
template <class T> struct Maker;

template <class T> struct ScalarMaker
{
    static T make(int seed)
    {
        if constexpr(std::is_same<T, bool>::value)
            return true;
        else if constexpr(std::is_floating_point<T>::value)
            return T(seed) + T(0.25);
        else
            return T(seed % 100 + 1);
    }
};

#define GENTEST_SCALAR(T) template <> struct Maker<T> : ScalarMaker<T> {};
GENTEST_SCALAR(bool)
GENTEST_SCALAR(Int8)
GENTEST_SCALAR(UInt8)
GENTEST_SCALAR(Int16)
GENTEST_SCALAR(UInt16)
GENTEST_SCALAR(Int32)
GENTEST_SCALAR(UInt32)
GENTEST_SCALAR(Int64)
GENTEST_SCALAR(UInt64)
GENTEST_SCALAR(Real32)
GENTEST_SCALAR(Real64)
#undef GENTEST_SCALAR

template <> struct Maker<Real16>
{
    static Real16 make(int seed) { return Real16(Real32(seed) + 0.5f); }
};

template <> struct Maker<std::string>
{
    static std::string make(int seed) { return "value " + std::to_string(seed); }
};

template <> struct Maker<BitVector>
{
    static BitVector make(int seed)
    {
        return (TypeTraits<BitVector>::One << UInt32(64 + seed % 64)) | BitVector(UInt64(seed));
    }
};

// Vectors, points, colours: components seed, seed + 1, ...
template <class T, class S, int N> struct ComponentMaker
{
    static T make(int seed)
    {
        T v;
        S *s = reinterpret_cast<S *>(&v);
        for(int i = 0; i < N; ++i)
            s[i] = S(seed % 50 + i + 1);
        return v;
    }
};

#define GENTEST_COMPONENTS(T, S, N) template <> struct Maker<T> : ComponentMaker<T, S, N> {};
GENTEST_COMPONENTS(Vec2f, Real32, 2)
GENTEST_COMPONENTS(Vec3f, Real32, 3)
GENTEST_COMPONENTS(Vec4f, Real32, 4)
GENTEST_COMPONENTS(Pnt2f, Real32, 2)
GENTEST_COMPONENTS(Pnt3f, Real32, 3)
GENTEST_COMPONENTS(Pnt4f, Real32, 4)
GENTEST_COMPONENTS(Vec2d, Real64, 2)
GENTEST_COMPONENTS(Vec3d, Real64, 3)
GENTEST_COMPONENTS(Vec4d, Real64, 4)
GENTEST_COMPONENTS(Pnt2d, Real64, 2)
GENTEST_COMPONENTS(Pnt3d, Real64, 3)
GENTEST_COMPONENTS(Pnt4d, Real64, 4)
GENTEST_COMPONENTS(Vec2s, Int16, 2)
GENTEST_COMPONENTS(Vec3s, Int16, 3)
GENTEST_COMPONENTS(Vec4s, Int16, 4)
GENTEST_COMPONENTS(Vec3b, Int8, 3)
GENTEST_COMPONENTS(Vec4ub, UInt8, 4)
GENTEST_COMPONENTS(Vec2i, Int32, 2)
GENTEST_COMPONENTS(Vec3i, Int32, 3)
GENTEST_COMPONENTS(Vec4i, Int32, 4)
GENTEST_COMPONENTS(Color3f, Real32, 3)
GENTEST_COMPONENTS(Color4f, Real32, 4)
GENTEST_COMPONENTS(Color3ub, UInt8, 3)
GENTEST_COMPONENTS(Color4ub, UInt8, 4)
GENTEST_COMPONENTS(Matrix, Real32, 16)
GENTEST_COMPONENTS(Matrix4d, Real64, 16)
#undef GENTEST_COMPONENTS

template <> struct Maker<Quaternion>
{
    static Quaternion make(int seed)
    {
        Quaternion q;
        q.setValueAsAxisDeg(Vec3f(0.f, 0.f, 1.f), Real32(seed % 170 + 5));
        return q;
    }
};

template <> struct Maker<DynamicVolume>
{
    static DynamicVolume make(int seed)
    {
        DynamicVolume v;
        BoxVolume &b = static_cast<BoxVolume &>(v.getInstance());
        b.setBounds(Pnt3f(Real32(-seed), -1.f, -2.f), Pnt3f(Real32(seed), 1.f, 2.f));
        v.instanceChanged();
        return v;
    }
};

template <> struct Maker<IndexWeight>
{
    static IndexWeight make(int seed) { return IndexWeight(UInt32(seed % 1000 + 1), Real32(seed) + 0.125f); }
};

// Animation keys: every member differs from the default and from its neighbours' seeds.
template <> struct Maker<CCPnt>
{
    static CCPnt make(int seed)
    {
        Real32 s = Real32(seed % 50);
        return CCPnt(Pnt2f(s + 0.5f, -s - 1.25f), Vec2f(-0.75f, s + 2.f), Vec2f(1.5f, -s - 3.f),
                     UInt32(seed % 7 + 3), UInt32(seed % 5 + 10));
    }
};

// Containers made for pointer fields live as long as the test program; the containers under test
// hold them without references, so nothing is ever destroyed behind a test's back.
class ValuePool
{
  public:
    static ValuePool &the()
    {
        static ValuePool pool;
        return pool;
    }

    template <class PtrT>
    PtrT makePtr(void)
    {
        typedef typename PtrT::StoredObjectType Stored;
        const FieldContainerType &target = Stored::getClassType();
        for(FieldContainerType *t : FieldContainerFactory::the()->getTypes())
        {
            if(t->isDerivedFrom(target) && !t->isAbstract())
            {
                FieldContainerPtr fc = t->createFieldContainer();
                addRefCP(fc);
                return PtrT::dcast(fc);
            }
        }
        ADD_FAILURE() << "no concrete type derives from " << target.getName();
        return PtrT();
    }

    template <class T>
    T make(int seed)
    {
        if constexpr(std::is_base_of<FieldContainerPtr, T>::value)
            return makePtr<T>();
        else if constexpr(std::is_same<T, AttachmentMap>::value)
        {
            AttachmentMap map;
            AttachmentPtr a = makePtr<AttachmentPtr>();
            if(a != NullFC)
                map[(UInt32(a->getGroupId()) << 16) | UInt32(seed % 7)] = a;
            return map;
        }
        else
            return Maker<T>::make(seed);
    }

    template <class T, Int32 NS>
    void fill(SField<T, NS> &field, int seed)
    {
        T v = make<T>(seed);
        if(v == field.getValue())
            v = make<T>(seed + 1);
        if constexpr(std::is_same<T, bool>::value)
            v = !field.getValue();
        field.setValue(v);
    }

    template <class T, Int32 NS>
    void fill(MField<T, NS> &field, int seed)
    {
        field.clear();
        for(int i = 0; i < 3; ++i)
            field.push_back(make<T>(seed * 3 + i));
    }
};

inline std::string fieldText(const FieldContainerPtr &fc, UInt32 id)
{
    Field *f = fc->getField(id);
    return f != nullptr ? f->getValueByStr() : std::string("<no field>");
}

// Every description names its own field, with the declared type, id and mask.
inline void expectDescriptionsMatch(const FieldContainerPtr &fc)
{
    const FieldContainerType &type = fc->getType();
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        const FieldDescription *d = type.getFieldDescription(id);
        ASSERT_NE(d, nullptr) << type.getName() << " id " << id;
        EXPECT_EQ(d->getFieldId(), id) << d->getName();
        EXPECT_EQ(d->getFieldMask(), TypeTraits<BitVector>::One << id) << d->getName();
        Field *f = d->getField(fc.getCPtr());
        ASSERT_NE(f, nullptr) << d->getName();
        EXPECT_EQ(&f->getType(), &d->getFieldType()) << d->getName();
    }
}

// The filled container differs from a fresh one in every field, so the round trips below test
// real data.
inline void expectNonDefault(const FieldContainerPtr &filled, const FieldContainerPtr &fresh)
{
    const FieldContainerType &type = filled->getType();
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        EXPECT_NE(fieldText(filled, id), fieldText(fresh, id))
            << type.getName() << "." << type.getFieldDescription(id)->getName();
    }
}

inline void expectFieldsEqual(const FieldContainerPtr &a, const FieldContainerPtr &b,
                              const BitVector &mask, const char *what)
{
    const FieldContainerType &type = a->getType();
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        if(!(mask & (TypeTraits<BitVector>::One << id)))
            continue;
        EXPECT_EQ(fieldText(a, id), fieldText(b, id))
            << what << ": " << type.getName() << "." << type.getFieldDescription(id)->getName();
    }
}

inline void binaryRoundTrip(const FieldContainerPtr &source, const FieldContainerPtr &target,
                            const BitVector &mask, const char *what)
{
    MemoryBinaryDataHandler out;
    UInt32 size = source->getBinSize(mask);
    source->copyToBin(out, mask);
    EXPECT_EQ(out.getBuffer().size(), size) << what;
    MemoryBinaryDataHandler in(out.getBuffer().data(), out.getBuffer().size());
    target->copyFromBin(in, mask);
    EXPECT_FALSE(in.isFailed()) << what;
    EXPECT_EQ(in.getBytesLeft(), 0u) << what;
    expectFieldsEqual(source, target, mask, what);
}

// Whole container in both count widths, each read into its own fresh container, then field by
// field so that a wrong mask shows.
inline void expectBinaryRoundTrip(const FieldContainerPtr &source, const FieldContainerPtr &target32,
                                  const FieldContainerPtr &target64)
{
    binaryRoundTrip(source, target32, FieldBits::AllFields, "binary, 32-bit counts");
    osgSetUseOSB64(true);
    binaryRoundTrip(source, target64, FieldBits::AllFields, "binary, 64-bit counts");
    osgSetUseOSB64(false);
    const FieldContainerType &type = source->getType();
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        FieldContainerPtr fresh = type.createFieldContainer();
        std::string what = "binary, field " + type.getFieldDescription(id)->getName();
        binaryRoundTrip(source, fresh, TypeTraits<BitVector>::One << id, what.c_str());
    }
}

inline void expectSyncRoundTrip(const FieldContainerPtr &source, const FieldContainerPtr &target)
{
    target->executeSync(*source.getCPtr(), FieldBits::AllFields);
    expectFieldsEqual(source, target, FieldBits::AllFields, "executeSync");
    const FieldContainerType &type = source->getType();
    for(UInt32 id = 1; id <= type.getNumFieldDescs(); ++id)
    {
        FieldContainerPtr fresh = type.createFieldContainer();
        BitVector mask = TypeTraits<BitVector>::One << id;
        fresh->executeSync(*source.getCPtr(), mask);
        expectFieldsEqual(source, fresh, mask, "executeSync, one field");
    }
}

} // namespace gentest

#endif
