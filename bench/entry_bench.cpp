// How much does a whole picture cost? One call of the entry, by size, form, workers and pages.
//
// The bytes are those of the host's buffers: what any tone mapper would have to read and write.

#include "Call.h"
#include "Measure.h"
#include "Scene.h"

#include <string>

namespace SelvaneBench
{

namespace
{

void AddCall(const sSize& pSize, const sForm& pForm, int pWorkers, eMemory pMemory)
{
    const std::string name =
        std::string("call/") + pSize.fName + "/" + pForm.fName + "/" + Workers(pWorkers) + "/" + Memory(pMemory);
    Add(name, [=](benchmark::State& pState) {
        cCall& call = CallOf(pForm, pSize);
        UseMemory(pMemory);
        const auto fresh = pMemory == eMemory::eKept ? 0 : static_cast<size_t>(pSize.Pixels() * kFreshBytes);
        Measure(pState, {pSize.Pixels(), pForm.HostBytes(), fresh}, [&] { call.Run(pWorkers); });
        UseMemory(eMemory::eBigPages);
    });
}

} // namespace

void AddCases()
{
    AddCall(k64x64, kForms[0], 1, eMemory::eBigPages); // first: the larger ones teach the heap to keep its pages
    for (const sSize& size : {k1MP, k6MP, k24MP})
        for (const sForm& form : kForms)
            for (const int workers : {1, 2})
                for (const eMemory memory : {eMemory::eBigPages, eMemory::eSmallPages})
                    AddCall(size, form, workers, memory);
    for (const sForm& form : kForms)
        for (const int workers : {1, 2})
            AddCall(k24MP, form, workers, eMemory::eKept);
}

} // namespace SelvaneBench
