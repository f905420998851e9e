// velmart-items OUTDIR: builds the items of the catalogue.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/ItemWriter.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/items/TemplateTable.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <string>

namespace {

int Run(int count, char** values)
{
    CLI::App app("Builds the items of the catalogue: writes files/, items/, shapes/ and index.json into a folder.",
                 "velmart-items");
    std::string folder;
    app.set_help_flag("--help", "this text");
    app.set_version_flag("--version", "velmart-items " VELMART_VERSION, "tell the version");
    app.add_option("OUTDIR", folder, "the folder")->type_name("")->required();
    app.failure_message(
        [](const CLI::App*, const CLI::Error& error) { return std::string("velmart-items: ") + error.what() + "\n"; });
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }

    catalogue::Catalogue catalogue;
    catalogue::AddParts(catalogue);
    catalogue::AddAssemblies(catalogue);
    catalogue::AddTemplates(catalogue);
    catalogue::WriteCatalogue(catalogue, folder);
    std::cout << catalogue.items.size() << " items in " << folder << "\n";
    return 0;
}

} // namespace

int main(int count, char** values)
{
    try {
        return Run(count, values);
    } catch (const std::exception& error) {
        std::cerr << "velmart-items: " << error.what() << "\n";
        return 1;
    }
}
