#include "catalogue/items/PartTable.h"

#include "catalogue/items/Dimensions.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <TopoDS_Shape.hxx>

#include <cmath>

namespace catalogue {

namespace {

struct PartRow {
    Item item; ///< `root` names the document; `documents` follows from it
    std::string partNumber;
    std::string material;
    TopoDS_Shape shape;
    double volume; ///< of the dimensions
};

// ---------------------------------------------------------------------------------------------
// Fasteners

struct NamedBolt {
    const char* size;
    const char* standard;
    const char* id;
    BoltDimensions dimensions;
};

const NamedBolt Bolts[] = {
    {.size = "M6x30",
     .standard = "ISO 4014",
     .id = "hexagon-bolt-m6x30",
     .dimensions =
         {.diameter = 6, .pitch = 1, .length = 30, .headHeight = 4, .widthAcrossFlats = 10, .threadLength = 18}},
    {.size = "M8x40",
     .standard = "ISO 4014",
     .id = "hexagon-bolt-m8x40",
     .dimensions =
         {.diameter = 8, .pitch = 1.25, .length = 40, .headHeight = 5.3, .widthAcrossFlats = 13, .threadLength = 22}},
    {.size = "M10x50",
     .standard = "ISO 4014",
     .id = "hexagon-bolt-m10x50",
     .dimensions =
         {.diameter = 10, .pitch = 1.5, .length = 50, .headHeight = 6.4, .widthAcrossFlats = 16, .threadLength = 26}},
    {.size = "M6x16",
     .standard = "ISO 4017",
     .id = "hexagon-screw-m6x16",
     .dimensions =
         {.diameter = 6, .pitch = 1, .length = 16, .headHeight = 4, .widthAcrossFlats = 10, .threadLength = 16}},
};

struct NamedNut {
    const char* size;
    const char* id;
    NutDimensions dimensions;
};

const NamedNut Nuts[] = {
    {.size = "M6",
     .id = "hexagon-nut-m6",
     .dimensions = {.diameter = 6, .pitch = 1, .height = 5.2, .widthAcrossFlats = 10}},
    {.size = "M8",
     .id = "hexagon-nut-m8",
     .dimensions = {.diameter = 8, .pitch = 1.25, .height = 6.8, .widthAcrossFlats = 13}},
    {.size = "M10",
     .id = "hexagon-nut-m10",
     .dimensions = {.diameter = 10, .pitch = 1.5, .height = 8.4, .widthAcrossFlats = 16}},
};

struct NamedWasher {
    const char* size;
    const char* id;
    WasherDimensions dimensions;
};

const NamedWasher Washers[] = {
    {.size = "M6", .id = "washer-m6", .dimensions = WasherM6},
    {.size = "M8", .id = "washer-m8", .dimensions = WasherM8},
    {.size = "M10", .id = "washer-m10", .dimensions = {.innerDiameter = 10.5, .outerDiameter = 20, .thickness = 2}},
};

std::string WithoutBlank(const std::string& standard)
{
    std::string text = standard;
    text.erase(text.find(' '), 1);
    return text;
}

PartRow Row(std::string id, std::string title, std::string category, std::string description,
            std::vector<Dimension> dimensions, const std::string& partNumber, std::string material,
            const TopoDS_Shape& shape, double volume, Delivery delivery = Delivery::Archive)
{
    Item item{std::move(id),         std::move(title), std::move(category),     std::move(description),
              std::move(dimensions), delivery,         partNumber + ".ZALPart", {}};
    return {std::move(item), partNumber, std::move(material), shape, volume};
}

void AddFasteners(std::vector<PartRow>& rows)
{
    for (const auto& [size, standard, id, bolt] : Bolts)
        rows.push_back(Row(id, std::string("Hexagon bolt ") + standard + " " + size, "Bolts and screws",
                           "Hexagon head, chamfered; thread shown by its outer diameter",
                           {{"d", bolt.diameter},
                            {"P", bolt.pitch},
                            {"l", bolt.length},
                            {"k", bolt.headHeight},
                            {"s", bolt.widthAcrossFlats},
                            {"b", bolt.threadLength}},
                           WithoutBlank(standard) + "_" + size, "Steel 8.8", MakeBolt(bolt), BoltVolume(bolt)));
    for (const auto& [size, id, nut] : Nuts)
        rows.push_back(Row(id, std::string("Hexagon nut ISO 4032 ") + size, "Nuts",
                           "Chamfered on both sides; thread shown by its core diameter",
                           {{"d", nut.diameter}, {"P", nut.pitch}, {"m", nut.height}, {"s", nut.widthAcrossFlats}},
                           std::string("ISO4032_") + size, "Steel 8", MakeNut(nut), NutVolume(nut)));
    for (const auto& [size, id, washer] : Washers)
        rows.push_back(Row(id, std::string("Washer ISO 7089 ") + size, "Washers", "Plain, without chamfer",
                           {{"d1", washer.innerDiameter}, {"d2", washer.outerDiameter}, {"h", washer.thickness}},
                           std::string("ISO7089_") + size, "Steel 200 HV", MakeWasher(washer), WasherVolume(washer),
                           Delivery::Raw));
}

// ---------------------------------------------------------------------------------------------
// Machine elements

void AddMachinery(std::vector<PartRow>& rows)
{
    const BearingDimensions& bearing = Bearing6204;
    rows.push_back(Row("ball-bearing-6204", "Deep-groove ball bearing 6204", "Bearings",
                       "Rings and balls as solids of their own, without a cage",
                       {{"d", bearing.bore},
                        {"D", bearing.outerDiameter},
                        {"B", bearing.width},
                        {"r", bearing.cornerRadius},
                        {"balls", double(bearing.balls)}},
                       "ISO15_6204", "Steel 100Cr6", MakeBearing(bearing), BearingVolume(bearing)));

    const ShaftDimensions& shaft = SteppedShaft20;
    rows.push_back(Row("stepped-shaft-20", "Stepped shaft 20", "Shafts",
                       "Two bearing seats, keyway DIN 6885 with round ends",
                       {{"d", 20}, {"D", 26}, {"l", 154}, {"b", shaft.keyWidth}, {"t1", shaft.keyDepth}},
                       "SHAFT_20x154", "Steel C45", MakeShaft(shaft), ShaftVolume(shaft)));

    const GearDimensions gears[] = {
        {.module = 2, .teeth = 18, .faceWidth = 20, .bore = 12, .keyWidth = 4, .keyDepth = 1.8},
        {.module = 2, .teeth = 36, .faceWidth = 18, .bore = 16, .keyWidth = 5, .keyDepth = 2.3},
    };
    for (const GearDimensions& gear : gears) {
        const std::string teeth = std::to_string(gear.teeth);
        rows.push_back(Row("spur-gear-m2-z" + teeth, "Spur gear module 2, " + teeth + " teeth", "Gears",
                           "Involute teeth, pressure angle 20 degrees, bore with keyway",
                           {{"m", gear.module}, {"z", double(gear.teeth)}, {"b", gear.faceWidth}, {"d", gear.bore}},
                           "GEAR_M2_Z" + teeth, "Steel 16MnCr5", MakeGear(gear), GearVolume(gear)));
    }
}

// ---------------------------------------------------------------------------------------------
// Structural parts

void AddStructures(std::vector<PartRow>& rows)
{
    const BracketDimensions& bracket = Bracket40;
    rows.push_back(
        Row("angle-bracket-40", "Angle bracket 40", "Brackets", "For profiles 40x40, two holes for M6",
            {{"leg", bracket.leg}, {"t", bracket.thickness}, {"b", bracket.width}, {"d", bracket.holeDiameter}},
            "BRACKET_40", "Steel S235", MakeBracket(bracket), BracketVolume(bracket), Delivery::OpenInSource));

    const ProfileDimensions& profile = Profile40;
    rows.push_back(Row("profile-40x40-400", "Aluminium profile 40x40, 400 long", "Profiles", "Four T slots of width 8",
                       {{"a", profile.side}, {"l", profile.length}, {"slot", profile.slotWidth}}, "PROFILE_40x40_400",
                       "Aluminium EN AW-6063", MakeProfile(profile), ProfileVolume(profile), Delivery::Raw));

    const SlotNutDimensions slotNut{.neckWidth = 7.8,
                                    .neckHeight = 4,
                                    .bodyFrom = ProfileLip,
                                    .bodyWidth = 15,
                                    .bodyHeight = 4,
                                    .length = 16,
                                    .coreDiameter = 5};
    rows.push_back(Row("slot-nut-m6", "Slot nut 8, M6", "Nuts", "For T slots of width 8",
                       {{"b", slotNut.bodyWidth}, {"l", slotNut.length}}, "SLOTNUT_8_M6", "Steel 8",
                       MakeSlotNut(slotNut), SlotNutVolume(slotNut)));

    const HousingDimensions& housing = Housing47;
    rows.push_back(Row("bearing-housing-47", "Bearing housing 47", "Housings", "Foot housing for bearing 6204",
                       {{"D", housing.seatDiameter},
                        {"B", housing.seatDepth},
                        {"h", housing.axisHeight},
                        {"l", housing.length},
                        {"b", housing.width}},
                       "HOUSING_47", "Cast iron GJL-200", MakeHousing(housing), HousingVolume(housing)));
}

void AddPart(Catalogue& catalogue, const PartRow& row)
{
    openhost::CadDocument document;
    document.kind = openhost::DocumentKind::Part;
    document.partNumber = row.partNumber;
    document.nomenclature = row.item.title;
    document.description = row.item.description;
    document.parameters = {{"Material", row.material}, {"Category", row.item.category}};
    document.geometry = openhost::EncodeShape(row.shape);

    const double volume = document.geometry->facts->volume;
    if (!(std::abs(volume - row.volume) <= VolumeTolerance * row.volume))
        throw std::runtime_error(row.item.id + ": the volume is " + std::to_string(volume) + ", its dimensions give " +
                                 std::to_string(row.volume));

    Item item = row.item;
    item.documents = {item.root};
    catalogue.documents.emplace(item.root, std::move(document));
    catalogue.items.push_back(std::move(item));
}

} // namespace

void AddParts(Catalogue& catalogue)
{
    std::vector<PartRow> rows;
    AddFasteners(rows);
    AddMachinery(rows);
    AddStructures(rows);
    for (const PartRow& row : rows)
        AddPart(catalogue, row);
}

} // namespace catalogue
