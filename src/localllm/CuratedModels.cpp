#include "localllm/CuratedModels.h"

namespace vennic {

const std::vector<LocalLLMModel>& curatedModels() {
    static const std::vector<LocalLLMModel> models{
        // id, name, GB on disk, GB of memory, tokens a second, description, family
        {QStringLiteral("mlx-community/Phi-3.5-mini-instruct-4bit"), QStringLiteral("Phi-3.5 mini"), 2.3, 3.0, 55,
         QStringLiteral("Très léger, idéal pour des réponses rapides et tâches simples."), QStringLiteral("Microsoft")},
        {QStringLiteral("mlx-community/Llama-3.2-3B-Instruct-4bit"), QStringLiteral("Llama 3.2 3B"), 2.0, 3.0, 50,
         QStringLiteral("Le modèle Meta le plus efficace sur faible RAM."), QStringLiteral("Meta")},
        {QStringLiteral("mlx-community/Qwen3-4B-4bit"), QStringLiteral("Qwen3 4B"), 2.5, 3.5, 45,
         QStringLiteral("Compact et polyvalent, bon équilibre pour l'usage courant."), QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/Qwen3.5-4B-MLX-4bit"), QStringLiteral("Qwen3.5 4B"), 2.5, 3.5, 45,
         QStringLiteral("Nouvelle génération Qwen, meilleur raisonnement pour la même taille."),
         QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/Llama-3.1-8B-Instruct-4bit"), QStringLiteral("Llama 3.1 8B"), 4.9, 6.5, 27,
         QStringLiteral("Référence équilibrée — large support d'outils et multilingue."), QStringLiteral("Meta")},
        {QStringLiteral("mlx-community/Qwen3-8B-4bit"), QStringLiteral("Qwen3 8B"), 5.0, 6.5, 25,
         QStringLiteral("Très bon raisonnement + tool use, excellent en français."), QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/Qwen3.5-9B-MLX-4bit"), QStringLiteral("Qwen3.5 9B"), 5.5, 7.0, 23,
         QStringLiteral("Qwen3.5 taille moyenne — qualité supérieure à Qwen3 8B."), QStringLiteral("Qwen")},
        {QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"), QStringLiteral("Qwen3 14B"), 8.0, 10.0, 14,
         QStringLiteral("Recommandé pour Mac 24 GB — très bon raisonnement et agents."), QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/Qwen2.5-Coder-14B-Instruct-4bit"), QStringLiteral("Qwen2.5 Coder 14B"), 8.3,
         10.0, 13, QStringLiteral("Spécialisé code (Python, JS, Ruby, Swift, SQL…)."), QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/DeepSeek-R1-Distill-Qwen-7B-4bit-mlx"), QStringLiteral("DeepSeek R1 7B"), 4.3,
         5.5, 32, QStringLiteral("Reasoning-first — distill de DeepSeek-R1 sur Qwen, raisonnement visible <think>."),
         QStringLiteral("DeepSeek")},
        {QStringLiteral("mlx-community/DeepSeek-R1-Distill-Llama-8B-4bit"), QStringLiteral("DeepSeek R1 8B"), 4.9, 6.5,
         28, QStringLiteral("Reasoning sur base Llama — meilleur en anglais + code qu'en français."),
         QStringLiteral("DeepSeek")},
        {QStringLiteral("mlx-community/DeepSeek-R1-Distill-Qwen-14B-4bit"), QStringLiteral("DeepSeek R1 14B"), 8.0,
         10.0, 14, QStringLiteral("Distill 14B — raisonnement math/code fort, un peu plus lent que Qwen3 14B."),
         QStringLiteral("DeepSeek")},
        {QStringLiteral("mlx-community/Qwen3.6-35B-A3B-OptiQ-4bit"), QStringLiteral("Qwen3.6 35B A3B"), 21.1, 24.0, 12,
         QStringLiteral("MoE récent — 35B total, ~3B actifs, qualité forte sur Mac 32 GB+."), QStringLiteral("Qwen")},
        {QStringLiteral("mlx-community/Qwen3-32B-4bit"), QStringLiteral("Qwen3 32B"), 18.0, 21.0, 6,
         QStringLiteral("Le plus capable en 24 GB — proche saturation, autres apps fermées."), QStringLiteral("Qwen")},
    };
    return models;
}

} // namespace vennic
