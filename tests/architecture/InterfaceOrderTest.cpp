// Operations of interfaces whose order other modules rely on.

#include "host/http.h"
#include "host/panel.h"
#include "host/settings.h"

#include <gtest/gtest.h>

#include <cstring>

namespace openhost::testing {

namespace {

/// How many places of the table of operations `to` stands after `from`.
template <class From, class To>
std::ptrdiff_t Places(From from, To to)
{
    // The first word of a pointer to a virtual operation is its offset in the table.
    std::ptrdiff_t first = 0;
    std::ptrdiff_t second = 0;
    std::memcpy(&first, &from, sizeof first);
    std::memcpy(&second, &to, sizeof second);
    return (second - first) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(InterfaceOrder, OfTheSettingsHasOneOperationBetweenFlagAndFolder)
{
    using Settings = ZALIVelmartIntegrationSettingAtt;
    const auto first = &Settings::SettingsStepOne;
    EXPECT_EQ(Places(first, &Settings::SettingsStepTwo), 1);
    EXPECT_EQ(Places(first, &Settings::SettingsStepThree), 2);
    EXPECT_EQ(Places(first, &Settings::SaveSettings), 3);
    EXPECT_EQ(Places(first, &Settings::GetDoNotRemindDownloadLocation), 4);
    EXPECT_EQ(Places(first, &Settings::SetDoNotRemindDownloadLocation), 5);
    EXPECT_EQ(Places(first, &Settings::GetDoNotRemindDownloadLocationInfo), 6);
    EXPECT_EQ(Places(first, &Settings::SetDoNotRemindDownloadLocationLock), 7);
    EXPECT_EQ(Places(first, &Settings::GetDownloadLocation), 8);
    EXPECT_EQ(Places(first, &Settings::SetDownloadLocation), 9);
    EXPECT_EQ(Places(first, &Settings::GetDownloadLocationInfo), 10);
}

TEST(InterfaceOrder, OfThePanel)
{
    using Panel = ZALIMeridiaAccessDialog;
    EXPECT_EQ(Places(&Panel::ExecuteScript, &Panel::LoadUrl), 1);
    EXPECT_EQ(Places(&Panel::ExecuteScript, &Panel::GetAddin), 2);
}

TEST(InterfaceOrder, OfThePanelsAddins)
{
    using Addin = ZALIMeridiaAccessDialogAddin;
    EXPECT_EQ(Places(&Addin::SetAccessDialog, &Addin::OnPageUrl), 1);
    EXPECT_EQ(Places(&Addin::SetAccessDialog, &Addin::OnJSMessage), 2);
}

TEST(InterfaceOrder, OfTheSettingsAddins)
{
    using Addin = ZALIMeridiaAccessSettingsUIAddin;
    EXPECT_EQ(Places(&Addin::Refresh, &Addin::Reset), 1);
    EXPECT_EQ(Places(&Addin::Refresh, &Addin::Restore), 2);
    EXPECT_EQ(Places(&Addin::Refresh, &Addin::Save), 3);
    EXPECT_EQ(Places(&Addin::Refresh, &Addin::CreateFrame), 4);
}

TEST(InterfaceOrder, OfReceiversOfATransfer)
{
    using Handler = ZALCefHttpDataHandler;
    EXPECT_EQ(Places(&Handler::OnHeaders, &Handler::OnData), 1);
    EXPECT_EQ(Places(&Handler::OnHeaders, &Handler::OnProgress), 2);
    EXPECT_EQ(Places(&Handler::OnHeaders, &Handler::OnComplete), 3);
}

} // namespace

} // namespace openhost::testing
