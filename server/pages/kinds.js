// The thirteen kinds of tasks with their arguments.

const text = (name, label, more = {}) => ({ name, label, type: "text", ...more });
const number = (name, label, more = {}) => ({ name, label, type: "number", ...more });
const required = { required: true };
const documentId = text("document_id", "Identifiant du document", { required: true, code: true });

export const kinds = [
  { kind: "search", label: "Chercher des documents", hint: "Cherche dans les dossiers partagés, par nom et par contenu.",
    fields: [text("query", "Mots cherchés", required), { ...text("folder_hints", "Dossiers (séparés par des virgules)"), type: "list" },
             number("limit", "Nombre de réponses", { placeholder: "10" })] },
  { kind: "read", label: "Lire un document", hint: "Donne le texte d'un document trouvé.",
    fields: [documentId, number("max_chars", "Longueur maximale (caractères)", { placeholder: "8000" })] },
  { kind: "list_folders", label: "Lister les dossiers partagés", hint: "Les dossiers que cette machine partage.", fields: [] },
  { kind: "list_dir", label: "Parcourir un dossier", hint: "Le contenu d'un dossier partagé.",
    fields: [text("folder_id", "Identifiant du dossier", { required: true, code: true }), text("sub_path", "Sous-dossier")] },
  { kind: "photos_recent", label: "Photos récentes", hint: "Les dernières photos, sans les images.",
    fields: [number("limit", "Nombre de photos", { placeholder: "10" })] },
  { kind: "photos_by_date", label: "Photos d'une date", hint: "Les photos d'une année ou d'un mois.",
    fields: [number("year", "Année", required), number("month", "Mois"), number("limit", "Nombre de photos", { placeholder: "10" })] },
  { kind: "app_open", label: "Ouvrir une application", hint: "L'application s'ouvre sur l'écran de la machine.",
    fields: [text("name", "Nom de l'application", required)] },
  { kind: "shortcut_run", label: "Lancer un raccourci", hint: "Lance un raccourci de la machine.",
    fields: [text("name", "Nom du raccourci", required), { ...text("input", "Texte d'entrée"), type: "area" }] },
  { kind: "shortcut_list", label: "Lister les raccourcis", hint: "Les raccourcis de la machine.", fields: [] },
  { kind: "ocr_image", label: "Reconnaître un texte", hint: "Lit le texte d'une image ou d'un document numérisé.", fields: [documentId] },
  { kind: "open_document", label: "Ouvrir un document", hint: "Le document s'ouvre sur l'écran de la machine.", fields: [documentId] },
  { kind: "thumbnail", label: "Aperçu d'un document", hint: "Une petite image du document.",
    fields: [documentId, number("max_edge", "Plus grand côté (pixels)", { placeholder: "128" })] },
  { kind: "llm_infer", label: "Demander au modèle local", hint: "Envoie une demande au modèle de la machine.",
    fields: [{ ...text("openai_body_json", "Demande (JSON)", required), type: "area", code: true,
      value: '{"messages":[{"role":"user","content":"Bonjour"}],"stream":true}' }] },
];

export const kindNamed = (name) => kinds.find((each) => each.kind === name);
