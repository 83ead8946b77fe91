// What the page shows is told by its address, so that it can be kept and sent to somebody.

/** @typedef {import("./types").Route} Route */

export const VIEWS = /** @type {Route["view"][]} */ ([
  "tree",
  "neighbours",
  "stations",
  "picture",
  "events",
  "history",
]);

/** "#/device/02:..?view=stations&band=5+GHz". @param {string} hash @returns {Route} */
export function routeOf(hash) {
  const [path, words] = hash.replace(/^#\/?/, "").split("?");
  const query = new URLSearchParams(words ?? "");
  const [first, second] = path.split("/");
  const named = /** @type {Route["view"]} */ (query.get("view") ?? first);
  const view = VIEWS.includes(named) ? named : "tree";
  query.delete("view");
  const kind = first === "device" || first === "station" ? first : undefined;
  return { view, kind, mac: kind && second, query };
}

/** @param {Partial<Route>} route */
export function hashOf(route) {
  const query = new URLSearchParams(route.query);
  const view = route.view ?? "tree";
  if (route.kind && view !== "tree") query.set("view", view);
  const words = query.toString();
  return `#/${route.kind ? `${route.kind}/${route.mac}` : view}${words && `?${words}`}`;
}
