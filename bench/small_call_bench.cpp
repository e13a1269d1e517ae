// What does a call cost that has hardly any pixels? One call of the entry, by size and form, with one worker.
//
// Such calls follow each other on the same heap, so no memory is touched between them: what the heap gives back to the
// system and asks for again is part of the price.

#include "Call.h"
#include "Measure.h"
#include "Scene.h"

#include <string>

namespace SelvaneBench
{

namespace
{

constexpr sSize kSmall[] = {{"1x1", 1, 1}, k64x64, {"256x256", 256, 256}};

} // namespace

void AddCases()
{
    for (const sSize& size : kSmall)
        for (const sForm& form : kForms)
            Add(std::string("smallCall/") + size.fName + "/" + form.fName, [=](benchmark::State& pState) {
                cCall& call = CallOf(form, size);
                Measure(pState, {size.Pixels(), form.HostBytes()}, [&] { call.Run(1); });
            });
}

} // namespace SelvaneBench
