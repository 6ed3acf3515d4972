// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/UserInterface.h>
#include <gtest/gtest.h>

namespace {

class Recorder final : public kvx::UserInterface {
public:
    int ShowMessage(const kvx::MessageRequest& request) override {
        texts.push_back(request.text);
        return 6;
    }
    std::vector<std::wstring> ChooseFiles(const kvx::FileDialogRequest&) override { return {L"a.vdf2"}; }

    std::vector<std::wstring> texts;
};

TEST(UserInterface, AnApplicationReplacesTheHostAndPutsItBack) {
    kvx::UserInterface* builtIn = &kvx::CurrentUserInterface();
    Recorder recorder;
    EXPECT_EQ(kvx::SetUserInterface(&recorder), nullptr);
    EXPECT_EQ(kvx::CurrentUserInterface().ShowMessage({L"text", {}, L"", 4}), 6);
    EXPECT_EQ(recorder.texts, std::vector<std::wstring>{L"text"});
    EXPECT_EQ(kvx::SetUserInterface(nullptr), &recorder);
    EXPECT_EQ(&kvx::CurrentUserInterface(), builtIn);
}

TEST(UserInterface, TheBuiltInHostAnswersWithTheDefaultButtonWhenNobodyIsThere) {
    // Under the test runner no terminal is attached to the standard input.
    struct {
        unsigned int type;
        int button;
    } const cases[] = {{0, 1},         {1, 1}, {1 | 0x100, 2}, {2, 3},
                       {3 | 0x200, 2}, {4, 6}, {4 | 0x100, 7}, {6, 2}};
    for (const auto& c : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(kvx::CurrentUserInterface().ShowMessage({L"質問", {L"detail"}, L"kvx", c.type | 0x30}),
                  c.button);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: kvx: 質問\n  detail\n");
    }
    EXPECT_TRUE(kvx::CurrentUserInterface().ChooseFiles({}).empty());
}

}  // namespace
