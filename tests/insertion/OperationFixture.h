// Operations on a scripted workspace, and the other component that hears of files put to use.
#pragma once

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/ScriptedCad.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/panel.h"
#include "openhost/cad/Automation.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/Journal.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace openhost::testing {

inline ZALListValZALUnicodeString List(const Texts& items)
{
    ZALListValZALUnicodeString list;
    for (const std::string& item : items)
        list.Append(item.c_str());
    return list;
}

class OperationFixture : public HostFixture {
protected:
    OperationFixture()
        : component_([this](ZALBaseUnknown*, ZALNotification* notification, void*) {
              const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
              ASSERT_TRUE(message);
              questionsBeforeMessage_ = Surface().Questions().size();
              textsAtMessage_ = LivingTexts() + LivingArrays();
              objectsAtMessage_ = Cad().livingObjects;
              messages_.emplace_back(message->GetData(), message->GetDataLength());
          })
    {
        component_.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                             ZALDlgHtmlViewJavaScriptNotification::ClassName());
    }
    ~OperationFixture() override
    {
        EXPECT_EQ(LivingTexts(), 0);
        EXPECT_EQ(LivingArrays(), 0);
        EXPECT_EQ(Cad().livingObjects, 0);
    }

    ScriptedCad& Cad() { return cad_; }
    Owned<ScriptedProduct> MakeProduct(const std::string& name)
    {
        return Owned<ScriptedProduct>(new ScriptedProduct(cad_, name));
    }

    /// Installs the command's message catalog with `lines`.
    void InstallCatalog(const std::string& lines)
    {
        const std::filesystem::path folder = Folder() / "installation" / "resources" / "msgcatalog";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "ZALVelmartMeridiaAccessAddinActionCmd.ZALNls") << lines;
    }
    Texts QuestionTexts()
    {
        Texts texts;
        for (const ScriptedSurface::Question& question : Surface().Questions())
            texts.push_back(question.text);
        return texts;
    }
    /// What the other component was told.
    const Texts& Messages() const { return messages_; }
    /// How many questions the user had answered when it was told last.
    std::size_t QuestionsBeforeMessage() const { return questionsBeforeMessage_; }
    /// Texts and arrays of automation that were alive then.
    int TextsAtMessage() const { return textsAtMessage_; }
    /// Objects of the workspace that were held then.
    int ObjectsAtMessage() const { return objectsAtMessage_; }
    static std::string EndTransaction(const Texts& paths)
    {
        const nlohmann::ordered_json message = {{"method", "EndTransaction"}, {"params", {{"filePathes", paths}}}};
        return message.dump();
    }

private:
    ScriptedCad cad_;
    Texts messages_;
    std::size_t questionsBeforeMessage_ = 0;
    int textsAtMessage_ = 0;
    int objectsAtMessage_ = 0;
    Listener component_;
};

} // namespace openhost::testing
