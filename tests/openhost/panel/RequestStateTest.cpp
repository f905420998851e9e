// What is told of requests while the module carries them out. The plays are those of real sessions.
#include "openhost/panel/RequestState.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <sstream>

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace openhost::testing {

namespace {

using Texts = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------
// Journals: messages, what followed from them, and the return of the module

// clang-format off
constexpr const char* Download = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/washer-m8.zip","end":"finished","code":200}
{"event":"extracted","path":"/parts/ISO7089_M8.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"})";

constexpr const char* Open = R"(
{"event":"message","text":"{\"event\":\"velmart_open\",\"content\":{\"id\":\"bolted-joint-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/bolted-joint-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/bolted-joint-m8.zip","end":"finished","code":200}
{"event":"extracted","path":"/parts/ISO4014_M8x40.ZALPart"}
{"event":"extracted","path":"/parts/ISO7089_M8.ZALPart"}
{"event":"extracted","path":"/parts/ISO4032_M8.ZALPart"}
{"event":"extracted","path":"/parts/BOLTED_JOINT_M8.ZALProduct"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"document","path":"/parts/BOLTED_JOINT_M8.ZALProduct","action":"opened"})";

constexpr const char* OpenWhereItLies = R"(
{"event":"message","text":"{\"event\":\"velmart_open\",\"content\":{\"id\":\"angle-bracket-40\"}}"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"document","path":"/items/files/BRACKET_40.ZALPart","action":"opened"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"})";

constexpr const char* OpenOfSeveralProductsWithTemplates = R"(
{"event":"message","text":"{\"event\":\"velmart_open\",\"content\":{\"id\":\"bearing-unit-20\"}}"}
{"event":"request","method":"GET","url":"http://v/files/bearing-unit-20.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"transfer","url":"http://v/files/bearing-unit-20.zip","end":"finished","code":200}
{"event":"extracted","path":"/temporary/HOUSING_47.ZALPart"}
{"event":"extracted","path":"/temporary/ISO15_6204.ZALPart"}
{"event":"extracted","path":"/temporary/SHAFT_20x154.ZALPart"}
{"event":"extracted","path":"/temporary/ISO4014_M8x40.ZALPart"}
{"event":"extracted","path":"/temporary/ISO7089_M8.ZALPart"}
{"event":"extracted","path":"/temporary/ISO4032_M8.ZALPart"}
{"event":"extracted","path":"/temporary/BOLTED_JOINT_M8.ZALProduct"}
{"event":"extracted","path":"/temporary/BEARING_UNIT_20.ZALProduct"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":33}
{"event":"request","method":"GET","url":"http://v/files/templates/PartTemplate.ZALPart"}
{"event":"transfer","url":"http://v/files/templates/PartTemplate.ZALPart","end":"finished","code":200}
{"event":"moved","from":"/temporary/PartTemplate.ZALPart","to":"/temporary/VelmartTemplates/PartTemplate.ZALPart"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":66}
{"event":"request","method":"GET","url":"http://v/files/templates/ProductTemplate.ZALProduct"}
{"event":"transfer","url":"http://v/files/templates/ProductTemplate.ZALProduct","end":"finished","code":200}
{"event":"moved","from":"/temporary/ProductTemplate.ZALProduct","to":"/temporary/VelmartTemplates/ProductTemplate.ZALProduct"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"moved","from":"/temporary/BEARING_UNIT_20.ZALProduct","to":"/parts/BEARING_UNIT_20.ZALProduct"}
{"event":"moved","from":"/temporary/ISO15_6204.ZALPart","to":"/parts/ISO15_6204.ZALPart"}
{"event":"moved","from":"/temporary/SHAFT_20x154.ZALPart","to":"/parts/SHAFT_20x154.ZALPart"}
{"event":"moved","from":"/temporary/ISO4014_M8x40.ZALPart","to":"/parts/ISO4014_M8x40.ZALPart"}
{"event":"moved","from":"/temporary/ISO7089_M8.ZALPart","to":"/parts/ISO7089_M8.ZALPart"}
{"event":"moved","from":"/temporary/ISO4032_M8.ZALPart","to":"/parts/ISO4032_M8.ZALPart"}
{"event":"moved","from":"/temporary/BOLTED_JOINT_M8.ZALProduct","to":"/parts/BOLTED_JOINT_M8.ZALProduct"}
{"event":"moved","from":"/temporary/HOUSING_47.ZALPart","to":"/parts/HOUSING_47.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The item has more than one product, which templates do not support.\nIts files were put into the download folder as they are.","answer":0}
{"event":"document","path":"/parts/BEARING_UNIT_20.ZALProduct","action":"opened"})";

constexpr const char* DownloadWithTemplatesTwice = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"transfer","url":"http://v/files/washer-m8.zip","end":"finished","code":200}
{"event":"extracted","path":"/temporary/ISO7089_M8.ZALPart"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":33}
{"event":"request","method":"GET","url":"http://v/files/templates/PartTemplate.ZALPart"}
{"event":"transfer","url":"http://v/files/templates/PartTemplate.ZALPart","end":"finished","code":200}
{"event":"moved","from":"/temporary/PartTemplate.ZALPart","to":"/temporary/VelmartTemplates/PartTemplate.ZALPart"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":66}
{"event":"request","method":"GET","url":"http://v/files/templates/ProductTemplate.ZALProduct"}
{"event":"transfer","url":"http://v/files/templates/ProductTemplate.ZALProduct","end":"finished","code":200}
{"event":"moved","from":"/temporary/ProductTemplate.ZALProduct","to":"/temporary/VelmartTemplates/ProductTemplate.ZALProduct"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"document","path":"/temporary/VelmartTemplates/PartTemplate.ZALPart","action":"opened","hidden":true}
{"event":"document","path":"/temporary/ISO7089_M8.ZALPart","action":"opened","hidden":true}
{"event":"document","path":"/parts/ISO7089_M8.ZALPart","action":"saved"}
{"event":"document","path":"/temporary/ISO7089_M8.ZALPart","action":"closed","hidden":true}
{"event":"document","path":"/parts/ISO7089_M8.ZALPart","action":"closed","hidden":true}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"})";

constexpr const char* Insert = R"(
{"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{\"id\":\"slot-nut-m6\"}}"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"begun"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"InitialState"}
{"event":"prompt","command":"ZALVelmartMeridiaAccessAddinActionCmd","state":"InitialState","text":"Select the product to insert the component into."}
{"event":"selection","element":"BEARING_UNIT_20","accepted":true,"command":"ZALVelmartMeridiaAccessAddinActionCmd"}
{"event":"request","method":"GET","url":"http://v/files/slot-nut-m6.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"DownloadState"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/slot-nut-m6.zip","end":"finished","code":200}
{"event":"extracted","path":"/parts/SLOTNUT_8_M6.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"document","path":"/parts/BEARING_UNIT_20.ZALProduct","action":"changed"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"done"})";

constexpr const char* InsertAfterARefusedPick = R"(
{"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{\"id\":\"slot-nut-m6\"}}"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"begun"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"InitialState"}
{"event":"prompt","command":"ZALVelmartMeridiaAccessAddinActionCmd","state":"InitialState","text":"Select the product to insert the component into."}
{"event":"selection","element":"BEARING_UNIT_20/HOUSING_47.1","accepted":false,"command":"ZALVelmartMeridiaAccessAddinActionCmd","reason":"the command does not accept the element"}
{"event":"selection","element":"BEARING_UNIT_20","accepted":true,"command":"ZALVelmartMeridiaAccessAddinActionCmd"}
{"event":"request","method":"GET","url":"http://v/files/slot-nut-m6.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"DownloadState"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/slot-nut-m6.zip","end":"finished","code":200}
{"event":"extracted","path":"/parts/SLOTNUT_8_M6.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"document","path":"/parts/BEARING_UNIT_20.ZALProduct","action":"changed"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"done"})";

constexpr const char* Replace = R"(
{"event":"message","text":"{\"event\":\"velmart_replace\",\"content\":{\"id\":\"slot-nut-m6\"}}"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"begun"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"InitialState"}
{"event":"prompt","command":"ZALVelmartMeridiaAccessAddinActionCmd","state":"InitialState","text":"Select the component to replace."}
{"event":"selection","element":"BEARING_UNIT_20/HOUSING_47.1","accepted":true,"command":"ZALVelmartMeridiaAccessAddinActionCmd"}
{"event":"request","method":"GET","url":"http://v/files/slot-nut-m6.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"DownloadState"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/slot-nut-m6.zip","end":"finished","code":200}
{"event":"extracted","path":"/parts/SLOTNUT_8_M6.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"ReplaceAllPopUp","text":"Do you want to replace all instances of this component?\nChoose No to replace the selected instance only.","answer":3}
{"event":"document","path":"/parts/BEARING_UNIT_20.ZALProduct","action":"changed"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"done"})";

constexpr const char* CancelByTheWindow = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip?slow=500"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"notification","class":"ZALVelmartDownloadProgressDlg::CANCELNotif"}
{"event":"transfer","url":"http://v/files/washer-m8.zip?slow=500","end":"cancelled","code":0}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has been cancelled.","answer":0})";

constexpr const char* AbsentFile = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zipx"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"transfer","url":"http://v/files/washer-m8.zipx","end":"finished","code":404}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has failed.","answer":0})";

constexpr const char* CutTransfer = R"(
{"event":"message","text":"{\"event\":\"velmart_open\",\"content\":{}}"}
{"event":"request","method":"GET","url":"http://v/files/slot-nut-m6.zip?cut=300"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":11}
{"event":"transfer","url":"http://v/files/slot-nut-m6.zip?cut=300","end":"failed","code":200,"error":"transfer closed with 2226 bytes remaining to read"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has failed.","answer":0})";

constexpr const char* AbsentFileForInsert = R"(
{"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"begun"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"InitialState"}
{"event":"prompt","command":"ZALVelmartMeridiaAccessAddinActionCmd","state":"InitialState","text":"Select the product to insert the component into."}
{"event":"selection","element":"BEARING_UNIT_20","accepted":true,"command":"ZALVelmartMeridiaAccessAddinActionCmd"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zipx"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"DownloadState"}
{"event":"transfer","url":"http://v/files/washer-m8.zipx","end":"finished","code":404}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileOpenInsertReplaceErrorNotify","text":"The download has failed.","answer":0}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"cancelled"})";

constexpr const char* InsertWithoutAPick = R"(
{"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{\"id\":\"slot-nut-m6\"}}"}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"begun"}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"entered","state":"InitialState"}
{"event":"prompt","command":"ZALVelmartMeridiaAccessAddinActionCmd","state":"InitialState","text":"Select the product to insert the component into."}
{"event":"command","command":"ZALVelmartMeridiaAccessAddinActionCmd","action":"ended"})";

constexpr const char* InsertOutsideTheWorkshop = R"(
{"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{\"id\":\"slot-nut-m6\"}}"}
{"event":"dialog","name":"FileOpenInsertReplaceErrorNotify","text":"Components can be inserted and replaced in the product workshop only.\nPlease open a product and try again.","answer":0}
{"event":"result","operation":"OnJSMessage","code":"0x80004005"})";

constexpr const char* FolderAsked = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/washer-m8.zip","end":"finished","code":200}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"shown"}
{"event":"notification","class":"ZALVelmartDownloadLocationDlg::OKNotif"}
{"event":"extracted","path":"/parts/ISO7089_M8.ZALPart"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"ended"})";

constexpr const char* FolderRefused = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/washer-m8.zip","end":"finished","code":200}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"shown"}
{"event":"notification","class":"ZALDlgCancelNotification"}
{"event":"notification","class":"ZALVelmartDownloadLocationDlg::CANCELNotif"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has been cancelled.","answer":0}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"ended"})";

constexpr const char* OverwriteRefused = R"(
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/washer-m8.zip"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":100}
{"event":"transfer","url":"http://v/files/washer-m8.zip","end":"finished","code":200}
{"event":"dialog","name":"OverwriteNotify","text":"Do you want to overwrite listed files ?\n\n/parts/ISO7089_M8.ZALPart\n","answer":4}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"shown"}
{"event":"notification","class":"ZALVelmartDownloadLocationDlg::CANCELNotif"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has been cancelled.","answer":0}
{"event":"window","name":"ZALVelmartDownloadLocationDlg","action":"ended"})";

constexpr const char* DownloadBesideAnOpen = R"(
{"event":"message","text":"{\"event\":\"velmart_open\",\"content\":{\"id\":\"bolted-joint-m8\"}}"}
{"event":"request","method":"GET","url":"http://v/files/bolted-joint-m8.zip?slow=4000"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":0}
{"event":"result","operation":"OnJSMessage","code":"S_OK"}
{"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\"washer-m8\"}}"}
{"event":"dialog","name":"FileDownloadErrorNotify","text":"The download has failed.","answer":0}
{"event":"result","operation":"OnJSMessage","code":"0x80004005"}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":11}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":23}
{"event":"progress","dialog":"ZALVelmartDownloadProgressDlg","position":92}
{"event":"transfer","url":"http://v/files/bolted-joint-m8.zip?slow=4000","end":"finished","code":200}
{"event":"extracted","path":"/parts/ISO4014_M8x40.ZALPart"}
{"event":"extracted","path":"/parts/ISO7089_M8.ZALPart"}
{"event":"extracted","path":"/parts/ISO4032_M8.ZALPart"}
{"event":"extracted","path":"/parts/BOLTED_JOINT_M8.ZALProduct"}
{"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"})";
// clang-format on

// ---------------------------------------------------------------------------------------------

/// The state with its values, in few words.
std::string Summary(const json& detail)
{
    std::string text = detail["state"];
    for (const char* key : {"share", "prompt", "files", "count", "folder", "note", "reason", "cause"})
        if (detail.contains(key))
            text += " " + (detail[key].is_string() ? detail[key].get<std::string>() : detail[key].dump());
    return text;
}

class Requests : public ::testing::Test {
protected:
    void Receive(const std::string& line)
    {
        const auto event = nlohmann::ordered_json::parse(line);
        if (event["event"] == "message") {
            // As the loop does, before it brings the next message.
            if (called_.empty())
                state_.Settle();
            called_.push_back(state_.Begin(event["text"], document_));
        } else if (event["event"] == "result") {
            state_.Returned(called_.back(), event["code"] == "S_OK");
            called_.pop_back();
        } else {
            state_.Receive(event);
        }
    }
    void Play(const std::string& journal)
    {
        std::istringstream lines(journal);
        for (std::string line; std::getline(lines, line);)
            if (!line.empty())
                Receive(line);
        state_.Settle();
    }
    Texts Told() const
    {
        Texts told;
        for (const json& detail : told_)
            told.push_back(Summary(detail));
        return told;
    }

    std::string document_ = "first";
    std::vector<json> told_;
    Texts documents_;
    RequestState state_{[this](const std::string& document, const nlohmann::ordered_json& detail) {
        documents_.push_back(document);
        told_.push_back(detail);
    }};
    std::vector<std::size_t> called_;
};

struct Row {
    const char* name;
    const char* journal;
    Texts told;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class PlayedRequests : public Requests, public ::testing::WithParamInterface<Row> {};

TEST_P(PlayedRequests, ToldAsTheyWent)
{
    Play(GetParam().journal);
    EXPECT_EQ(GetParam().told, Told());
    EXPECT_FALSE(state_.IsSettling());
}

const Row Rows[] = {
    {"Download",
     Download,
     {"started", "running null", "running 0.0", "running 1.0", "done [\"ISO7089_M8.ZALPart\"] 1 /parts"}},
    {"Open",
     Open,
     {"started", "running null", "running 0.0", "running 1.0",
      "done [\"ISO4014_M8x40.ZALPart\",\"ISO7089_M8.ZALPart\",\"ISO4032_M8.ZALPart\",\"BOLTED_JOINT_M8.ZALProduct\"] 4 "
      "/parts"}},
    {"OpenWhereItLies", OpenWhereItLies, {"started", "done [] 0"}},
    {"OpenOfSeveralProductsWithTemplates",
     OpenOfSeveralProductsWithTemplates,
     {"started", "running null", "running 0.0", "running 0.33", "running 0.66", "running 1.0",
      "done "
      "[\"HOUSING_47.ZALPart\",\"ISO15_6204.ZALPart\",\"SHAFT_20x154.ZALPart\",\"ISO4014_M8x40.ZALPart\",\"ISO7089_M8."
      "ZALPart\",\"ISO4032_M8.ZALPart\",\"BOLTED_JOINT_M8.ZALProduct\",\"BEARING_UNIT_20.ZALProduct\"] 8 /parts The "
      "item has more than one product, which templates do not support.\nIts files were put into the download folder as "
      "they are."}},
    {"DownloadWithTemplatesTwice",
     DownloadWithTemplatesTwice,
     {"started", "running null", "running 0.0", "running 0.33", "running 0.66", "running 1.0",
      "done [\"ISO7089_M8.ZALPart\"] 1 /parts", "started", "done [] 0"}},
    {"Insert",
     Insert,
     {"started", "waiting Select the product to insert the component into.", "running null", "running 0.0",
      "running 1.0", "done [\"SLOTNUT_8_M6.ZALPart\"] 1 /parts"}},
    {"InsertAfterARefusedPick",
     InsertAfterARefusedPick,
     {"started", "waiting Select the product to insert the component into.", "running null", "running 0.0",
      "running 1.0", "done [\"SLOTNUT_8_M6.ZALPart\"] 1 /parts"}},
    {"Replace",
     Replace,
     {"started", "waiting Select the component to replace.", "running null", "running 0.0", "running 1.0",
      "done [\"SLOTNUT_8_M6.ZALPart\"] 1 /parts"}},
    {"CancelByTheWindow", CancelByTheWindow, {"started", "running null", "running 0.0", "cancelled"}},
    {"AbsentFile", AbsentFile, {"started", "running null", "running 0.0", "failed The download has failed. HTTP 404"}},
    {"CutTransfer",
     CutTransfer,
     {"started", "running null", "running 0.0", "running 0.11",
      "failed The download has failed. transfer closed with 2226 bytes remaining to read"}},
    {"AbsentFileForInsert",
     AbsentFileForInsert,
     {"started", "waiting Select the product to insert the component into.", "running null", "running 0.0",
      "failed The download has failed. HTTP 404"}},
    {"InsertWithoutAPick",
     InsertWithoutAPick,
     {"started", "waiting Select the product to insert the component into.", "cancelled"}},
    {"InsertOutsideTheWorkshop",
     InsertOutsideTheWorkshop,
     {"started", "failed Components can be inserted and replaced in the product workshop only.\nPlease open a product "
                 "and try again."}},
    {"FolderAsked",
     FolderAsked,
     {"started", "running null", "running 0.0", "running 1.0", "waiting ", "running null",
      "done [\"ISO7089_M8.ZALPart\"] 1 /parts"}},
    {"FolderRefused",
     FolderRefused,
     {"started", "running null", "running 0.0", "running 1.0", "waiting ", "cancelled"}},
    {"OverwriteRefused",
     OverwriteRefused,
     {"started", "running null", "running 0.0", "running 1.0", "waiting ", "cancelled"}},
    {"DownloadBesideAnOpen",
     DownloadBesideAnOpen,
     {"started", "running null", "running 0.0", "started", "failed The download has failed.", "running 0.11",
      "running 0.23", "running 0.92", "failed "}},
};

INSTANTIATE_TEST_SUITE_P(Journals, PlayedRequests, ::testing::ValuesIn(Rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Requests, NameTheirMessageAndTheirItem)
{
    Play(Download);
    for (const json& detail : told_) {
        EXPECT_EQ("velmart_download", detail["event"]);
        EXPECT_EQ("washer-m8", detail["id"]);
    }
}

TEST_F(Requests, AreToldToTheDocumentThatSentThem)
{
    Play(Download);
    const std::size_t first = told_.size();
    document_ = "second";
    Play(InsertOutsideTheWorkshop);
    EXPECT_EQ(Texts(first, "first"), Texts(documents_.begin(), documents_.begin() + std::ptrdiff_t(first)));
    EXPECT_EQ(Texts(told_.size() - first, "second"),
              Texts(documents_.begin() + std::ptrdiff_t(first), documents_.end()));
}

TEST_F(Requests, OfOneKindFollowEachOther)
{
    Play(std::string(Download) + Download);
    ASSERT_EQ(0U, told_.size() % 2);
    const std::size_t half = told_.size() / 2;
    EXPECT_EQ(std::vector(told_.begin(), told_.begin() + std::ptrdiff_t(half)),
              std::vector(told_.begin() + std::ptrdiff_t(half), told_.end()));
    EXPECT_EQ("started", told_[half]["state"]);
}

TEST_F(Requests, OtherMessagesAreNone)
{
    for (const char* text : {"velmart_ready", R"({"event":"velmart_ready","content":{}})", "[]", "7", "",
                             R"({"event":["velmart_open"]})", R"({"event":"velmart_over"})"})
        state_.Returned(state_.Begin(text, "first"), true);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(Requests, WithNonsenseForAnItemAreToldWithoutItsName)
{
    for (const char* text : {R"({"event":"velmart_open"})", R"({"event":"velmart_open","content":[]})",
                             R"({"event":"velmart_open","content":{"id":7}})"})
        state_.Returned(state_.Begin(text, "first"), false);
    EXPECT_EQ((Texts{"started", "failed ", "started", "failed ", "started", "failed "}), Told());
    for (const json& detail : told_)
        EXPECT_FALSE(detail.contains("id"));
}

TEST_F(Requests, WithoutAnEndMakeWayForTheNextDownload)
{
    Receive(R"({"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{}}"})");
    Receive(R"({"event":"request","method":"GET","url":"a"})");
    Receive(R"({"event":"result","code":"S_OK"})");
    Play(Download);
    EXPECT_THAT(Told(), ElementsAre("started", "running null", "started", "failed ", "running null", "running 0.0",
                                    "running 1.0", R"(done ["ISO7089_M8.ZALPart"] 1 /parts)"));
}

TEST_F(Requests, OfOthersForFilesAndQuestionsChangeNothing)
{
    Receive(R"({"event":"message","text":"{\"event\":\"velmart_insert\",\"content\":{}}"})");
    for (const char* line :
         {R"({"event":"result","code":"S_OK"})", R"({"event":"request","method":"POST","url":"u"})",
          R"({"event":"transfer","url":"u","end":"cancelled","code":0})", R"({"event":"extracted","path":"/a/b"})",
          R"({"event":"dialog","name":"FileDownloadErrorNotify","text":"t","answer":0})",
          R"({"event":"document","path":"/a/b","action":"opened"})",
          R"({"event":"document","path":"/a/b","action":"changed"})",
          R"({"event":"command","command":"ZALVelmartFindSimilarCmd","action":"begun"})",
          R"({"event":"command","command":"ZALVelmartFindSimilarCmd","action":"ended"})"})
        Receive(line);
    EXPECT_THAT(Told(), ElementsAre("started"));
}

TEST_F(Requests, TellOfAThousandFilesTheFirstAndTheirNumber)
{
    Receive(R"({"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{}}"})");
    Receive(R"({"event":"result","code":"S_OK"})");
    for (int i = 0; i < 3000; ++i)
        Receive(R"({"event":"extracted","path":"/parts/)" + std::to_string(i % 2) + "/" + std::to_string(i) + "\"}");
    Play(R"({"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"})");
    const json done = told_.back();
    EXPECT_EQ(20U, done["files"].size());
    EXPECT_EQ("1/1", done["files"][1]);
    EXPECT_EQ(3000, done["count"]);
    EXPECT_EQ("/parts", done["folder"]);
}

TEST_F(Requests, ArePublishedWithIdentifiersOfAtMostTwoHundredBytes)
{
    for (const std::size_t size : {200U, 201U}) {
        const std::string id(size, 'i');
        Receive(R"({"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{\"id\":\")" + id +
                R"(\"}}"})");
        EXPECT_EQ(size == 200 ? id : "", told_.back().value("id", "")) << size;
    }
}

TEST_F(Requests, DoNotNameTheHomeFolder)
{
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    ::setenv("HOME", "/home/somebody", 1);
    Receive(R"({"event":"message","text":"{\"event\":\"velmart_download\",\"content\":{}}"})");
    Receive(R"({"event":"result","code":"S_OK"})");
    Receive(R"({"event":"extracted","path":"/home/somebody/parts/a"})");
    Play(R"({"event":"notification","class":"ZALVelmartFileDownloadCompleteNotification"})");
    ::setenv("HOME", home.c_str(), 1);
    EXPECT_EQ("~/parts", told_.back()["folder"]);
}

} // namespace

} // namespace openhost::testing
