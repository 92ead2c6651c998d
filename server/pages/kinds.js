// The thirteen kinds of tasks with their arguments. A field's `known` names what earlier answers may suggest for it;
// `given` labels a box that says whether an argument that may be empty is there. Where the fields aren't the arguments
// themselves, `compose(values)` makes the arguments of them and `parts(args)` gives the values back, or null.

const text = (name, label, more = {}) => ({ name, label, type: "text", ...more });
const number = (name, label, more = {}) => ({ name, label, type: "number", min: 1, ...more });
const documentId = text("document_id", "Document (identifiant)", { required: true, code: true, known: "documents" });
const photoLimit = number("limit", "Nombre de photos", { placeholder: "10", max: 30 });
const months = ["janvier", "février", "mars", "avril", "mai", "juin", "juillet", "août", "septembre", "octobre",
  "novembre", "décembre"];

// A chat as an OpenAI body: what stands in the fields, and nothing else.
function chatBody({ model, system, question, tools }) {
  const messages = [...(system ? [{ role: "system", content: system }] : []), { role: "user", content: question ?? "" }];
  const offered = tools === undefined ? {} : { tools, tool_choice: "auto" };
  return { openai_body_json: JSON.stringify({ ...(model ? { model } : {}), messages, ...offered }) };
}

function chatParts(args) {
  try {
    const { model, messages, tools } = JSON.parse(args.openai_body_json);
    const said = (role) => messages.find((message) => message.role === role)?.content;
    return { question: said("user"), system: said("system"), tools, model };
  } catch {
    return null;
  }
}

const identifiers = "Les identifiants viennent d'une recherche ou d'un dossier parcouru.";

export const kindGroups = [
  { label: "Documents", kinds: [
    { kind: "search", label: "Chercher des documents", hint: "Cherche dans les dossiers partagés, par nom et par contenu.",
      fields: [text("query", "Mots cherchés", { required: true }),
               text("folder_hints", "Seulement dans les dossiers", { type: "list", placeholder: "Documents, Factures",
                 note: "Des morceaux de chemins, séparés par des virgules." }),
               number("limit", "Nombre de réponses", { placeholder: "10" })] },
    { kind: "list_folders", label: "Lister les dossiers partagés", hint: "Les dossiers que cette machine partage.", fields: [] },
    { kind: "list_dir", label: "Parcourir un dossier", hint: "Un étage d'un dossier partagé. Les identifiants viennent de la liste des dossiers.",
      fields: [text("folder_id", "Dossier partagé (identifiant)", { required: true, code: true, known: "folders" }),
               text("sub_path", "Sous-dossier", { placeholder: "Reçus/Été 2024" })] },
    { kind: "read", label: "Lire un document", hint: `Le texte d'un document. ${identifiers}`,
      fields: [documentId, number("max_chars", "Longueur maximale (caractères)", { placeholder: "8000" })] },
    { kind: "ocr_image", label: "Reconnaître un texte", hint: `Le texte d'une image ou d'un PDF numérisé. ${identifiers}`,
      fields: [documentId] },
    { kind: "thumbnail", label: "Vignette d'un document", hint: `Une petite image du document. ${identifiers}`,
      fields: [documentId, number("max_edge", "Plus grand côté (points)", { placeholder: "128", min: 32, max: 256 })] },
    { kind: "open_document", label: "Ouvrir un document", hint: `Le document s'ouvre sur l'écran de la machine. ${identifiers}`,
      fields: [documentId] },
  ] },
  { label: "Photos", kinds: [
    { kind: "photos_recent", label: "Photos récentes", hint: "Les dernières photos : noms, dates et lieux, jamais les images.",
      fields: [photoLimit] },
    { kind: "photos_by_date", label: "Photos d'une date", hint: "Les photos d'un mois. Sans mois : du 1er janvier de l'année au 30 novembre de la suivante.",
      fields: [number("year", "Année", { required: true, max: 9999, value: () => new Date().getFullYear() }),
               { name: "month", label: "Mois", type: "choice", number: true,
                 choices: [["", "Toute l'année"], ...months.map((month, index) => [String(index + 1), month])] },
               photoLimit] },
  ] },
  { label: "Sur la machine", kinds: [
    { kind: "app_open", label: "Ouvrir une application", hint: "L'application s'ouvre sur l'écran de la machine.",
      fields: [text("name", "Nom de l'application", { required: true })] },
    { kind: "shortcut_list", label: "Lister les automatisations", hint: "Les automatisations que la machine sait lancer.", fields: [] },
    { kind: "shortcut_run", label: "Lancer une automatisation", hint: "Lance une automatisation et rend ce qu'elle écrit.",
      fields: [text("name", "Nom de l'automatisation", { required: true, known: "shortcuts" }),
               text("input", "Texte d'entrée", { type: "area", given: "Donner ce texte, même vide" })] },
    { kind: "llm_infer", label: "Demander au modèle local", hint: "Le modèle que la machine sert elle-même répond ; son texte s'affiche pendant qu'il l'écrit.",
      fields: [text("question", "Question", { type: "area", required: true }),
               text("system", "Consigne", { type: "area" }),
               text("tools", "Outils (JSON)", { type: "json", code: true, note: "Un tableau d'outils, comme dans l'API d'OpenAI. La machine ne les lance pas : elle rend les appels que le modèle demande." }),
               text("model", "Modèle", { code: true, placeholder: "propriétaire/modèle",
                 note: "Vide, ou sans « / » : celui que la machine a choisi." })],
      compose: chatBody, parts: chatParts },
  ] },
];

const kinds = kindGroups.flatMap((group) => group.kinds);
export const kindNamed = (name) => kinds.find((each) => each.kind === name);
export const kindLabel = (name) => kindNamed(name)?.label ?? String(name);
