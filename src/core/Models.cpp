#include "core/Models.h"

#include "base/Localized.h"

namespace vennic {

QLatin1String rawValue(Mode mode) {
    switch (mode) {
    case Mode::microphone:
        return QLatin1String("microphone");
    case Mode::chat:
        return QLatin1String("chat");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(Provider provider) {
    switch (provider) {
    case Provider::openai:
        return QLatin1String("openai");
    case Provider::anthropic:
        return QLatin1String("anthropic");
    case Provider::gemini:
        return QLatin1String("gemini");
    case Provider::local:
        return QLatin1String("local");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(VoiceMode mode) {
    switch (mode) {
    case VoiceMode::pushToTalk:
        return QLatin1String("pushToTalk");
    case VoiceMode::realtime:
        return QLatin1String("realtime");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(AudioOutput output) {
    switch (output) {
    case AudioOutput::automatic:
        return QLatin1String("auto");
    case AudioOutput::gpt:
        return QLatin1String("gpt");
    case AudioOutput::local:
        return QLatin1String("local");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(SummonBehavior behavior) {
    switch (behavior) {
    case SummonBehavior::lastUsed:
        return QLatin1String("lastUsed");
    case SummonBehavior::chat:
        return QLatin1String("chat");
    case SummonBehavior::voice:
        return QLatin1String("voice");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(SummonFallbackShortcut shortcut) {
    switch (shortcut) {
    case SummonFallbackShortcut::none:
        return QLatin1String("none");
    case SummonFallbackShortcut::commandJ:
        return QLatin1String("commandJ");
    }
    Q_UNREACHABLE();
}

QLatin1String rawValue(ChatMessage::Role role) {
    switch (role) {
    case ChatMessage::Role::user:
        return QLatin1String("user");
    case ChatMessage::Role::assistant:
        return QLatin1String("assistant");
    }
    Q_UNREACHABLE();
}

QLatin1String wireForm(VoiceMode mode) {
    return mode == VoiceMode::pushToTalk ? QLatin1String("ptt") : QLatin1String("realtime");
}

std::optional<VoiceMode> voiceModeFromWire(QStringView word) {
    for (const VoiceMode mode : allCases<VoiceMode>)
        if (word == wireForm(mode))
            return mode;
    return std::nullopt;
}

QString label(Mode mode) {
    switch (mode) {
    case Mode::microphone:
        return localized("Voix");
    case Mode::chat:
        return localized("Chat");
    }
    Q_UNREACHABLE();
}

QString label(Provider provider) {
    switch (provider) {
    case Provider::openai:
        return localized("ChatGPT");
    case Provider::anthropic:
        return localized("Claude");
    case Provider::gemini:
        return localized("Gemini");
    case Provider::local:
        return localized("Self-Hosted");
    }
    Q_UNREACHABLE();
}

QString label(VoiceMode mode) {
    return mode == VoiceMode::pushToTalk ? localized("Push-to-talk") : localized("Temps réel");
}

QString label(AudioOutput output) {
    switch (output) {
    case AudioOutput::automatic:
        return localized("Auto");
    case AudioOutput::gpt:
        return localized("Voix GPT");
    case AudioOutput::local:
        return localized("Voix système");
    }
    Q_UNREACHABLE();
}

QString label(SummonBehavior behavior) {
    switch (behavior) {
    case SummonBehavior::lastUsed:
        return localized("Dernier mode utilisé");
    case SummonBehavior::chat:
        return localized("Toujours le chat");
    case SummonBehavior::voice:
        return localized("Toujours la voix");
    }
    Q_UNREACHABLE();
}

QString label(SummonFallbackShortcut shortcut) {
    return shortcut == SummonFallbackShortcut::none ? localized("Aucun") : localized("⌘J");
}

QString description(VoiceMode mode) {
    return mode == VoiceMode::pushToTalk ? localized("Appuie, parle, relâche. Transcription + réponse.")
                                         : localized("Conversation bidirectionnelle via OpenAI Realtime.");
}

QString description(AudioOutput output) {
    switch (output) {
    case AudioOutput::automatic:
        return localized("Voix GPT si disponible, sinon synthèse locale.");
    case AudioOutput::gpt:
        return localized("Toujours la voix de GPT (provider OpenAI uniquement).");
    case AudioOutput::local:
        return localized("Synthèse vocale macOS (AVSpeechSynthesizer).");
    }
    Q_UNREACHABLE();
}

QLatin1String icon(Provider provider) {
    switch (provider) {
    case Provider::openai:
        return QLatin1String("sparkles");
    case Provider::anthropic:
        return QLatin1String("a.circle");
    case Provider::gemini:
        return QLatin1String("g.circle");
    case Provider::local:
        return QLatin1String("cpu");
    }
    Q_UNREACHABLE();
}

ChatMessage ChatMessage::make(Role role, const QString& content, const QDateTime& now) {
    return {QUuid::createUuid(), role, content, now};
}

} // namespace vennic
