#include "localllm/LocalLLMCatalog.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

struct Row {
    const char* id;
    const char* displayName;
    double sizeGB;
    double ramGB;
    qint64 approxTokensPerSec;
    const char* familyTag;
    const char* description;
};

constexpr Row rows[] = {
    {"mlx-community/Phi-3.5-mini-instruct-4bit", "Phi-3.5 mini", 2.3, 3.0, 55, "Microsoft",
     "Très léger, idéal pour des réponses rapides et tâches simples."},
    {"mlx-community/Llama-3.2-3B-Instruct-4bit", "Llama 3.2 3B", 2.0, 3.0, 50, "Meta",
     "Le modèle Meta le plus efficace sur faible RAM."},
    {"mlx-community/Qwen3-4B-4bit", "Qwen3 4B", 2.5, 3.5, 45, "Qwen",
     "Compact et polyvalent, bon équilibre pour l'usage courant."},
    {"mlx-community/Qwen3.5-4B-MLX-4bit", "Qwen3.5 4B", 2.5, 3.5, 45, "Qwen",
     "Nouvelle génération Qwen, meilleur raisonnement pour la même taille."},
    {"mlx-community/Llama-3.1-8B-Instruct-4bit", "Llama 3.1 8B", 4.9, 6.5, 27, "Meta",
     "Référence équilibrée — large support d'outils et multilingue."},
    {"mlx-community/Qwen3-8B-4bit", "Qwen3 8B", 5.0, 6.5, 25, "Qwen",
     "Très bon raisonnement + tool use, excellent en français."},
    {"mlx-community/Qwen3.5-9B-MLX-4bit", "Qwen3.5 9B", 5.5, 7.0, 23, "Qwen",
     "Qwen3.5 taille moyenne — qualité supérieure à Qwen3 8B."},
    {"Qwen/Qwen3-14B-MLX-4bit", "Qwen3 14B", 8.0, 10.0, 14, "Qwen",
     "Recommandé pour Mac 24 GB — très bon raisonnement et agents."},
    {"mlx-community/Qwen2.5-Coder-14B-Instruct-4bit", "Qwen2.5 Coder 14B", 8.3, 10.0, 13, "Qwen",
     "Spécialisé code (Python, JS, Ruby, Swift, SQL…)."},
    {"mlx-community/DeepSeek-R1-Distill-Qwen-7B-4bit-mlx", "DeepSeek R1 7B", 4.3, 5.5, 32, "DeepSeek",
     "Reasoning-first — distill de DeepSeek-R1 sur Qwen, raisonnement visible <think>."},
    {"mlx-community/DeepSeek-R1-Distill-Llama-8B-4bit", "DeepSeek R1 8B", 4.9, 6.5, 28, "DeepSeek",
     "Reasoning sur base Llama — meilleur en anglais + code qu'en français."},
    {"mlx-community/DeepSeek-R1-Distill-Qwen-14B-4bit", "DeepSeek R1 14B", 8.0, 10.0, 14, "DeepSeek",
     "Distill 14B — raisonnement math/code fort, un peu plus lent que Qwen3 14B."},
    {"mlx-community/Qwen3.6-35B-A3B-OptiQ-4bit", "Qwen3.6 35B A3B", 21.1, 24.0, 12, "Qwen",
     "MoE récent — 35B total, ~3B actifs, qualité forte sur Mac 32 GB+."},
    {"mlx-community/Qwen3-32B-4bit", "Qwen3 32B", 18.0, 21.0, 6, "Qwen",
     "Le plus capable en 24 GB — proche saturation, autres apps fermées."},
};

TEST(CuratedModels, eachStandsInItsPlaceWithItsFiguresAndWords) {
    const auto& models = LocalLLMCatalog::models();
    ASSERT_EQ(models.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const LocalLLMModel& model = models[i];
        const Row& row = rows[i];
        EXPECT_EQ(model.id, QString::fromUtf8(row.id));
        EXPECT_EQ(model.displayName, QString::fromUtf8(row.displayName)) << row.id;
        EXPECT_EQ(model.sizeGB, row.sizeGB) << row.id;
        EXPECT_EQ(model.ramGB, row.ramGB) << row.id;
        EXPECT_EQ(model.approxTokensPerSec, row.approxTokensPerSec) << row.id;
        EXPECT_EQ(model.familyTag, QString::fromUtf8(row.familyTag)) << row.id;
        EXPECT_EQ(model.description, QString::fromUtf8(row.description)) << row.id;
    }
}

} // namespace
} // namespace vennic
