// velmart-items OUTDIR: builds the items of the catalogue.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/ItemWriter.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/items/TemplateTable.h"

#include "openhost/commandline/CommandLine.h"

#include <iostream>
#include <string>

namespace {

int Run(int count, char** values)
{
    openhost::CommandLine line("velmart-items", "Builds the items of the catalogue");
    std::string folder;
    line.Program().Word("OUTDIR", folder, "the folder that gets files/, items/, pictures/ and items.sqlite").Required();
    line.Program().Footer("Example: velmart-items items");
    if (const std::optional<int> status = line.Read(count, values))
        return *status;

    catalogue::Catalogue catalogue;
    catalogue::AddParts(catalogue);
    catalogue::AddAssemblies(catalogue);
    catalogue::AddTemplates(catalogue);
    catalogue::WriteCatalogue(catalogue, folder);
    std::cout << catalogue.items.size() << " items in " << folder << "\n";
    return openhost::StatusDone;
}

} // namespace

int main(int count, char** values)
{
    return openhost::RunProgram("velmart-items", [&] { return Run(count, values); });
}
