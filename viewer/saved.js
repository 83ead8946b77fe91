// The start of a page that is one file. Modules name each other by relative addresses, which parts of one file do not
// have: each gets an address of its own first, those that it needs before it.

const files = JSON.parse(document.getElementById("files")?.textContent ?? "{}");
/** @type {Record<string, string>} */
const addresses = {};
const IMPORT = /(\bfrom ?|\bimport ?\(?)"\.\/([a-z0-9./-]+)"/g;

/** @param {string} name @returns {string} */
const addressOf = (name) => {
  // The chart is no part of it: a saved page has no past.
  const toOthers = (/** @type {string} */ all, /** @type {string} */ word, /** @type {string} */ other) =>
    other in files ? `${word}"${addressOf(other)}"` : all;
  addresses[name] ??= URL.createObjectURL(
    new Blob([files[name].replace(IMPORT, toOthers)], { type: "text/javascript" }),
  );
  return addresses[name];
};

const style = new CSSStyleSheet();
style.replaceSync(files["style.css"]);
document.adoptedStyleSheets = [style];
import(addressOf("main.js"));
