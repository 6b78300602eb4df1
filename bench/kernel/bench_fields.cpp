// Field encoding/decoding against memcpy of the same bytes, and the life cycle of a small container.
// Each codec benchmark has a memcpy peer; the program prints the ratios after the usual table.

#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGBinaryDataHandler.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGMFBaseTypes.h>
#include <OpenSGExt/OSGValuePair.h>
#include <OpenSGExt/skOpenSGExt.h>

#include "support/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <iomanip>
#include <iostream>
#include <map>
#include <string>
#include <vector>

using namespace osg;

namespace {

const UInt32 PointCount  = 1000000;
const UInt32 StringCount = 100000;

const MFPnt3f &points()
{
    static MFPnt3f f = [] {
        MFPnt3f p;
        p.reserve(PointCount);
        for(UInt32 i = 0; i < PointCount; ++i)
            p.push_back(Pnt3f(Real32(i), Real32(i) * 0.5f, -Real32(i)));
        return p;
    }();
    return f;
}

const MFString &strings()
{
    static MFString f = [] {
        MFString s;
        for(UInt32 i = 0; i < StringCount; ++i)
            s.push_back("tag" + std::to_string(i));
        return s;
    }();
    return f;
}

template <class FieldT>
std::vector<UInt8> encoded(const FieldT &field)
{
    MemoryBinaryDataHandler h;
    field.copyToBin(h);
    return h.getBuffer();
}

template <class FieldT>
void encode(benchmark::State &state, const FieldT &field)
{
    MemoryBinaryDataHandler h;
    h.reserve(field.getBinSize());
    for(auto _ : state)
    {
        h.clear();
        field.copyToBin(h);
        benchmark::DoNotOptimize(h.getBuffer().data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * field.getBinSize());
}

template <class FieldT>
void decode(benchmark::State &state, const FieldT &field)
{
    std::vector<UInt8> bytes = encoded(field);
    FieldT target;
    for(auto _ : state)
    {
        MemoryBinaryDataHandler h(bytes.data(), bytes.size());
        target.copyFromBin(h);
        benchmark::DoNotOptimize(target.getValues().data());
    }
    if(target.size() != field.size())
        state.SkipWithError("decoded size differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

void copyBytes(benchmark::State &state, size_t size)
{
    std::vector<UInt8> src(size, 1), dst(size);
    for(auto _ : state)
    {
        std::memcpy(dst.data(), src.data(), size);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * size);
}

void BM_MFPnt3f_Encode(benchmark::State &s) { encode(s, points()); }
void BM_MFPnt3f_Decode(benchmark::State &s) { decode(s, points()); }
void BM_MFPnt3f_Memcpy(benchmark::State &s) { copyBytes(s, points().getBinSize()); }
void BM_MFString_Encode(benchmark::State &s) { encode(s, strings()); }
void BM_MFString_Decode(benchmark::State &s) { decode(s, strings()); }
void BM_MFString_Memcpy(benchmark::State &s) { copyBytes(s, strings().getBinSize()); }

BENCHMARK(BM_MFPnt3f_Memcpy)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFPnt3f_Encode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFPnt3f_Decode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFString_Memcpy)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFString_Encode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MFString_Decode)->Unit(benchmark::kMicrosecond);

// Create, edit inside begin/end (recorded, changed() called), destroy.
void BM_Container_Lifecycle(benchmark::State &state)
{
    ChangeList *list = Thread::getCurrentChangeList();
    UInt32 n = 0;
    for(auto _ : state)
    {
        ValuePairPtr p = ValuePair::create();
        addRefCP(p);
        beginEditCP(p, ValuePair::KeyFieldMask | ValuePair::ValueFieldMask);
        p->editMFKey()->push_back("k");
        p->editMFValue()->push_back("v");
        endEditCP(p, ValuePair::KeyFieldMask | ValuePair::ValueFieldMask);
        subRefCP(p);
        // A host clears its change list once per frame; keep it bounded the same way.
        if(list != NULL && (++n & 0xFFF) == 0)
            list->clearAll();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Container_Lifecycle);

// Each codec's bandwidth as a share of memcpy's, after the table.
SKBENCH_REPORT([](std::ostream &os, const skbench::Results &r) {
    os << "\nShare of memcpy bandwidth (memcpy time / codec time, same bytes):\n";
    for(const char *field : {"MFPnt3f", "MFString"})
    {
        const std::string peer = std::string("BM_") + field + "_Memcpy";
        for(const char *op : {"Encode", "Decode"})
        {
            const std::string name = std::string("BM_") + field + "_" + op;
            if(r.has(name) && r.has(peer))
                os << "  " << std::left << std::setw(20) << name << std::fixed
                   << std::setprecision(1) << 100.0 * r.ratio(peer, name) << " %\n";
        }
    }
    auto life = r.itemsPerSecond.find("BM_Container_Lifecycle");
    if(life != r.itemsPerSecond.end())
        os << "Container create/edit/destroy: " << std::fixed << std::setprecision(2)
           << life->second / 1e6 << " million per second\n";
});

} // namespace
