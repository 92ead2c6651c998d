#pragma once
#include "ports/ModalDialogs.h"

#include <utility>
#include <vector>

namespace vennic::test {

/// A screen with somebody before it who answers as told. Every dialog is written down.
class ModalDialogsFake final : public ModalDialogs {
public:
    bool hasScreen() const override { return screen; }

    Task<DialogAnswer> ask(DialogQuestion question) override {
        if (!screen)
            co_return DialogAnswer::none;
        questions.push_back(std::move(question));
        struct Open {
            int* count;
            std::function<void()>* closed;
            Open(int* counted, std::function<void()>* told) : count(counted), closed(told) { ++*count; }
            Open(const Open&) = delete;
            Open& operator=(const Open&) = delete;
            ~Open() {
                if (--*count == 0 && *closed)
                    (*closed)();
            }
        };
        const Open open(&onScreen, &closed_);
        if (hold)
            co_await answered;
        co_return answer;
    }
    Task<> warn(QString title, QString informativeText) override {
        warnings.emplace_back(std::move(title), std::move(informativeText));
        co_return;
    }
    bool isShowing() const override { return onScreen > 0; }
    void onClosed(std::function<void()> closed) override { closed_ = std::move(closed); }

    bool screen = true;
    DialogAnswer answer = DialogAnswer::accepted;
    bool hold = false;
    Event<> answered; // lets a held question be answered
    int onScreen = 0; // questions that nobody has answered yet
    std::vector<DialogQuestion> questions;
    std::vector<std::pair<QString, QString>> warnings;

private:
    std::function<void()> closed_;
};

} // namespace vennic::test
