// The picture as a file.

const LOOKS = [
  "fill",
  "stroke",
  "stroke-width",
  "stroke-dasharray",
  "opacity",
  "font-family",
  "font-size",
  "font-weight",
];

/** A copy that looks the same without the page's style. @param {SVGElement} svg */
export function standalone(svg) {
  const copy = /** @type {SVGElement} */ (svg.cloneNode(true));
  const originals = [...svg.querySelectorAll("*")];
  [...copy.querySelectorAll("*")].forEach((element, i) => {
    const style = getComputedStyle(originals[i]);
    for (const name of LOOKS) element.setAttribute(name, style.getPropertyValue(name));
    for (const name of ["class", "id", "href", "aria-label"]) element.removeAttribute(name);
  });
  for (const name of ["class", "role", "aria-label"]) copy.removeAttribute(name);
  const [, , width, height] = (svg.getAttribute("viewBox") ?? "").split(" ");
  copy.setAttribute("xmlns", "http://www.w3.org/2000/svg");
  copy.setAttribute("width", width);
  copy.setAttribute("height", height);
  const ground = document.createElementNS("http://www.w3.org/2000/svg", "rect");
  ground.setAttribute("width", "100%");
  ground.setAttribute("height", "100%");
  ground.setAttribute("fill", getComputedStyle(document.body).backgroundColor);
  copy.prepend(ground);
  return { text: new XMLSerializer().serializeToString(copy), width: Number(width), height: Number(height) };
}

/** @param {Blob} blob @param {string} name */
function offer(blob, name) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

const MOST_PIXELS = 8192; // of a side; browsers draw nothing on larger ones

/** @param {{text: string, width: number, height: number}} picture @returns {Promise<Blob>} */
async function painted({ text, width, height }) {
  const image = new Image();
  image.src = URL.createObjectURL(new Blob([text], { type: "image/svg+xml" }));
  await image.decode();
  const scale = Math.min(2, MOST_PIXELS / width, MOST_PIXELS / height);
  const canvas = document.createElement("canvas");
  canvas.width = Math.ceil(width * scale);
  canvas.height = Math.ceil(height * scale);
  canvas.getContext("2d")?.drawImage(image, 0, 0, canvas.width, canvas.height);
  URL.revokeObjectURL(image.src);
  return new Promise((resolve) => canvas.toBlob((blob) => resolve(/** @type {Blob} */ (blob)), "image/png"));
}

/** @param {SVGElement} svg @param {"svg" | "png"} kind */
export async function save(svg, kind) {
  const picture = standalone(svg);
  const blob = kind === "svg" ? new Blob([picture.text], { type: "image/svg+xml" }) : await painted(picture);
  offer(blob, `mesh.${kind}`);
}
