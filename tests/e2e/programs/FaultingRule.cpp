// The console program with one rule more: "CRFAULT" reads through a null pointer when the
// repository package is a file named "faulting.msi", and finds nothing otherwise. It is linked with
// --wrap of the catalogue, so the program's own code stays exactly as it ships; the run shows
// how a fault inside a rule, on a worker thread, reaches the user while the other packages are
// still examined.
#include "rules/RuleCatalogue.h"

kw::RuleCatalogue RealCatalogue() asm("__real__ZN2kw14BuildCatalogueEv");
kw::RuleCatalogue WrappedCatalogue() asm("__wrap__ZN2kw14BuildCatalogueEv");

namespace {

// Volatile, so that the compiler emits the read instead of proving it faults and replacing it
// with a trap of its own.
volatile int* volatile g_nowhere = nullptr;

kw::FindingList FaultingRule(kw::PackagePair& pair)
{
    if (pair.Repository().Path().ends_with(L"faulting.msi"))
        static_cast<void>(*g_nowhere);
    return {};
}

} // namespace

kw::RuleCatalogue WrappedCatalogue()
{
    kw::RuleCatalogue catalogue = RealCatalogue();
    catalogue.push_back({L"CRFAULT", &FaultingRule});
    return catalogue;
}
