#include "openhost/desktop/window/GermanWords.h"

namespace openhost {

namespace {

constexpr std::pair<const char*, const char*> Words[] = {
    // Menus and tools
    {"&File", "&Datei"},
    {"&Edit", "&Bearbeiten"},
    {"&View", "&Ansicht"},
    {"&Catalogue", "&Katalog"},
    {"&Help", "&Hilfe"},
    {"&New product...", "&Neues Produkt..."},
    {"&Open...", "Ö&ffnen..."},
    {"Open &recent", "&Zuletzt geöffnet"},
    {"&Save", "&Speichern"},
    {"Save &as...", "Speichern &unter..."},
    {"Save a&ll", "A&lle speichern"},
    {"&Close", "S&chließen"},
    {"&Quit", "&Beenden"},
    {"&Undo", "&Rückgängig"},
    {"&Redo", "&Wiederholen"},
    {"Search the &tree", "Im &Baum suchen"},
    {"Cancel co&mmand", "Befehl &abbrechen"},
    {"&Options...", "&Optionen..."},
    {"&Find similar", "Ä&hnliche suchen"},
    {"&Language", "&Sprache"},
    {"C&olours", "&Farben"},
    {"As the system", "Wie das System"},
    {"Light", "Hell"},
    {"Dark", "Dunkel"},
    {"Tool bar", "Werkzeugleiste"},
    {"&About", "Ü&ber"},
    {"About", "Über"},
    {"Open host", "Open host"},
    {"Open host runs the Velmart integration without a seat of the CAD application.",
     "Open host führt die Velmart-Integration ohne einen Arbeitsplatz der CAD-Anwendung aus."},
    {"Version %1", "Version %1"},

    // Documents
    {"Documents", "Dokumente"},
    {"Documents (*.%1 *.%2)", "Dokumente (*.%1 *.%2)"},
    {"Products (*.%1)", "Produkte (*.%1)"},
    {"Parts (*.%1)", "Teile (*.%1)"},
    {"New product", "Neues Produkt"},
    {"Open", "Öffnen"},
    {"Save as", "Speichern unter"},
    {"%1 exists already. Replace it?", "%1 gibt es schon. Ersetzen?"},
    {"Unsaved changes", "Ungespeicherte Änderungen"},
    {"Save the changes of these documents?", "Die Änderungen dieser Dokumente speichern?"},
    {"and %1 more", "und %1 weitere"},
    {"not saved", "nicht gespeichert"},
    {"Error", "Fehler"},

    // Tree and properties
    {"Product tree", "Produktbaum"},
    {"Search the tree", "Im Baum suchen"},
    {"Component", "Komponente"},
    {"Part number", "Teilenummer"},
    {"missing", "fehlt"},
    {"damaged", "beschädigt"},
    {"The document is missing.", "Das Dokument fehlt."},
    {"Show", "Zeigen"},
    {"Open in a tab", "In einem Reiter öffnen"},
    {"Properties", "Eigenschaften"},
    {"Property", "Eigenschaft"},
    {"Value", "Wert"},
    {"Document", "Dokument"},
    {"Name", "Name"},
    {"Position", "Lage"},
    {"Link", "Verweis"},
    {"Problem", "Problem"},
    {"Nomenclature", "Benennung"},
    {"Description", "Beschreibung"},
    {"Kind", "Art"},
    {"Product", "Produkt"},
    {"Part", "Teil"},
    {"File", "Datei"},
    {"Changes", "Änderungen"},
    {"none", "keine"},
    {"Parameters", "Parameter"},
    {"Links", "Verweise"},
    {"unused", "unbenutzt"},

    // Commands and picks
    {"(Escape cancels)", "(Esc bricht ab)"},
    {"This cannot be picked: ", "Das kann nicht gewählt werden: "},
    {"the command does not accept the element", "der Befehl nimmt das Element nicht an"},
    {"the command has ended", "der Befehl ist beendet"},
    {"there is no element", "es gibt kein Element"},
    {"Insert", "Einfügen"},
    {"Replace", "Ersetzen"},
    {"Replace All", "Alle ersetzen"},
    {"Move", "Verschieben"},
    {"Change", "Ändern"},

    // The catalogue and transfers
    {"Catalogue", "Katalog"},
    {"Back", "Zurück"},
    {"Reload", "Neu laden"},
    {"Home", "Startseite"},
    {"Try again", "Noch einmal versuchen"},
    {"The page cannot be shown.", "Die Seite kann nicht gezeigt werden."},
    {"Transfers", "Übertragungen"},
    {"Progress", "Fortschritt"},
    {"Bytes", "Bytes"},
    {"Speed", "Geschwindigkeit"},
    {"Time left", "Restzeit"},
    {"Result", "Ergebnis"},
    {"Folder", "Ordner"},
    {"Cancel transfer", "Übertragung abbrechen"},
    {"Clear list", "Liste leeren"},
    {"running", "läuft"},
    {"cancelled", "abgebrochen"},
    {"failed: ", "fehlgeschlagen: "},
    {"done", "fertig"},
    {"refused by the server (%1)", "vom Server abgelehnt (%1)"},
    {"%1 of %2", "%1 von %2"},
    {"%1 of unknown", "%1 von unbekannt"},
    {"%1/s", "%1/s"},
    {"%1 s", "%1 s"},
    {"unknown", "unbekannt"},
};

} // namespace

std::span<const std::pair<const char*, const char*>> GermanWords()
{
    return Words;
}

} // namespace openhost
