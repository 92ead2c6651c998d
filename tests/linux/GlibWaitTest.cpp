#include "linux/GlibWait.h"

#include "base/LocalizedError.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {

gboolean giveUp(gpointer task) {
    g_task_return_error_if_cancelled(G_TASK(task));
    return G_SOURCE_REMOVE;
}

/// An operation that ends by being cancelled alone.
void beginEndless(GCancellable* operation, GAsyncReadyCallback ready, gpointer place) {
    GTask* const task = g_task_new(nullptr, operation, ready, place);
    GSource* const cancelled = g_cancellable_source_new(operation);
    // A cancellable's source hands its own first argument over, which isn't what GSourceFunc declares.
    g_source_set_callback(cancelled, G_SOURCE_FUNC(+[](GCancellable*, gpointer ended) { return giveUp(ended); }), task,
                          g_object_unref);
    g_source_attach(cancelled, g_main_context_get_thread_default());
    g_source_unref(cancelled);
}

QString wordsOf(const GlibWait& wait, GError* error) {
    try {
        wait.raise(error);
    } catch (const LocalizedError& raised) {
        return raised.errorDescription();
    }
}

QString endOfEndless(GlibWait& wait) {
    const auto result = wait.resultOf(beginEndless);
    GError* error = nullptr;
    EXPECT_EQ(g_task_propagate_pointer(G_TASK(result.get()), &error), nullptr);
    return wordsOf(wait, error);
}

GError* errorOf(GQuark domain, int code) { return g_error_new(domain, code, "Words of GIO"); }

const QString unanswered = QStringLiteral("La demande est restée sans réponse.");

} // namespace

TEST(GlibWaitTest, anOperationThatTakesTooLongIsCancelledAndSaysSo) {
    GlibWait wait({}, 0);
    EXPECT_EQ(endOfEndless(wait), unanswered);
}

TEST(GlibWaitTest, anOperationThatIsStoppedSaysSo) {
    std::stop_source source;
    source.request_stop();
    GlibWait wait(source.get_token(), 3600);
    EXPECT_EQ(endOfEndless(wait), QStringLiteral("La demande a été interrompue."));
}

TEST(GlibWaitTest, theBussOwnTimeOutIsTheSameToTheUserAndOtherErrorsHaveTheirSentences) {
    const GlibWait wait({}, 3600);
    EXPECT_EQ(wordsOf(wait, errorOf(G_IO_ERROR, G_IO_ERROR_TIMED_OUT)), unanswered);
    EXPECT_EQ(wordsOf(wait, errorOf(G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT)), unanswered);
    EXPECT_EQ(wordsOf(wait, errorOf(G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT)), unanswered);
    EXPECT_EQ(wordsOf(wait, errorOf(G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY)),
              QStringLiteral("L'application s'est arrêtée sans répondre."));
    EXPECT_EQ(wordsOf(wait, errorOf(G_IO_ERROR, G_IO_ERROR_NOT_FOUND)), QStringLiteral("Ce fichier n'existe plus."));
}
