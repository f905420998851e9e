// Operations on a scripted workspace, and the other component that hears of files put to use.
#pragma once

#include "tests/support/Files.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Lists.h"
#include "tests/support/Objects.h"
#include "tests/support/ScriptedCad.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/panel.h"
#include "openhost/cad/Automation.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/Journal.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

namespace openhost::testing {

/// A scripted workspace without anything in it.
class WorkspaceFixture : public HostFixture {
protected:
    ~WorkspaceFixture() override { EXPECT_EQ(0, cad_.facets); }

    ScriptedCad& Cad() { return cad_; }
    ScriptedObject& MakeProduct(const std::string& name) { return cad_.MakeProduct(name); }
    /// Installs the command's message catalog with `lines`.
    void InstallCatalog(const std::string& lines)
    {
        WriteCatalog(Folder(), "ZALVelmartMeridiaAccessAddinActionCmd", lines);
    }
    Texts QuestionTexts()
    {
        Texts texts;
        for (const ScriptedSurface::Question& question : Surface().Questions())
            texts.push_back(question.text);
        return texts;
    }

private:
    ScriptedCad cad_;
};

class OperationFixture : public WorkspaceFixture {
protected:
    OperationFixture()
        : component_([this](ZALBaseUnknown*, ZALNotification* notification, void*) {
              const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
              ASSERT_TRUE(message);
              questionsBeforeMessage_ = Surface().Questions().size();
              textsAtMessage_ = LivingTexts() + LivingArrays();
              objectsAtMessage_ = Cad().facets;
              messages_.emplace_back(message->GetData(), message->GetDataLength());
          })
    {
        component_.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                             ZALDlgHtmlViewJavaScriptNotification::ClassName());
    }
    ~OperationFixture() override
    {
        EXPECT_EQ(0, LivingTexts());
        EXPECT_EQ(0, LivingArrays());
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
    Texts messages_;
    std::size_t questionsBeforeMessage_ = 0;
    int textsAtMessage_ = 0;
    int objectsAtMessage_ = 0;
    Listener component_;
};

} // namespace openhost::testing
