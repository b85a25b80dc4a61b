// The module's start and end. The order matters and is kept in this one place.
#include "actions/families.h"
#include "catalogue/catalogue.h"
#include "frame/last_error.h"
#include "objects/generic_action.h"
#include "zinc/crash_handling.h"

namespace TmxPLC {

namespace {

class Module {
  public:
    Module() {
        RegisterAllFamilies();
        BuildCatalogue();
        // Behind the building on purpose: the generic action stays out of every map and query.
        CTmxGenericAction::Register();
        LastError::Attach();
        Zinc::InstallCrashHandling();
    }
    ~Module() {
        Zinc::RemoveCrashHandling();
        LastError::Detach();
        if (LiveObjects::Count() != 0)
            Platform::OutputDebugText("TMXACTIONS.DLL: some actions/messages are not destroyed!\n");
        TearDownCatalogue();
    }
};

const Module module;

}  // namespace

}  // namespace TmxPLC
