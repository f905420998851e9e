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
    EXPECT_EQ(1, Places(first, &Settings::SettingsStepTwo));
    EXPECT_EQ(2, Places(first, &Settings::SettingsStepThree));
    EXPECT_EQ(3, Places(first, &Settings::SaveSettings));
    EXPECT_EQ(4, Places(first, &Settings::GetDoNotRemindDownloadLocation));
    EXPECT_EQ(5, Places(first, &Settings::SetDoNotRemindDownloadLocation));
    EXPECT_EQ(6, Places(first, &Settings::GetDoNotRemindDownloadLocationInfo));
    EXPECT_EQ(7, Places(first, &Settings::SetDoNotRemindDownloadLocationLock));
    EXPECT_EQ(8, Places(first, &Settings::GetDownloadLocation));
    EXPECT_EQ(9, Places(first, &Settings::SetDownloadLocation));
    EXPECT_EQ(10, Places(first, &Settings::GetDownloadLocationInfo));
}

TEST(InterfaceOrder, OfThePanel)
{
    using Panel = ZALIMeridiaAccessDialog;
    EXPECT_EQ(1, Places(&Panel::ExecuteScript, &Panel::LoadUrl));
    EXPECT_EQ(2, Places(&Panel::ExecuteScript, &Panel::GetAddin));
}

TEST(InterfaceOrder, OfThePanelsAddins)
{
    using Addin = ZALIMeridiaAccessDialogAddin;
    EXPECT_EQ(1, Places(&Addin::SetAccessDialog, &Addin::OnPageUrl));
    EXPECT_EQ(2, Places(&Addin::SetAccessDialog, &Addin::OnJSMessage));
}

TEST(InterfaceOrder, OfTheSettingsAddins)
{
    using Addin = ZALIMeridiaAccessSettingsUIAddin;
    EXPECT_EQ(1, Places(&Addin::Refresh, &Addin::Reset));
    EXPECT_EQ(2, Places(&Addin::Refresh, &Addin::Restore));
    EXPECT_EQ(3, Places(&Addin::Refresh, &Addin::Save));
    EXPECT_EQ(4, Places(&Addin::Refresh, &Addin::CreateFrame));
}

TEST(InterfaceOrder, OfReceiversOfATransfer)
{
    using Handler = ZALCefHttpDataHandler;
    EXPECT_EQ(1, Places(&Handler::OnHeaders, &Handler::OnData));
    EXPECT_EQ(2, Places(&Handler::OnHeaders, &Handler::OnProgress));
    EXPECT_EQ(3, Places(&Handler::OnHeaders, &Handler::OnComplete));
}

} // namespace

} // namespace openhost::testing
