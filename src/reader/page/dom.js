/**
 * Creating elements. Texts become text nodes, so that no text of a message is ever parsed as markup.
 *
 * @typedef {Node | string} Child
 * @typedef {Record<string, string | number | boolean | undefined>} Attributes
 */

/**
 * @param {Element} target
 * @param {Attributes} attributes An attribute whose value is false or undefined is left out.
 * @param {Child[]} children
 */
function fill(target, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== undefined && value !== false) target.setAttribute(name, value === true ? '' : String(value));
  }
  target.append(...children);
}

/**
 * @template {keyof HTMLElementTagNameMap} Tag
 * @param {Tag} tag
 * @param {Attributes} [attributes]
 * @param {...Child} children
 * @returns {HTMLElementTagNameMap[Tag]}
 */
export function element(tag, attributes = {}, ...children) {
  const created = document.createElement(tag);
  fill(created, attributes, children);
  return created;
}

/**
 * @template {keyof SVGElementTagNameMap} Tag
 * @param {Tag} tag
 * @param {Attributes} [attributes]
 * @param {...Child} children
 * @returns {SVGElementTagNameMap[Tag]}
 */
export function svgElement(tag, attributes = {}, ...children) {
  const created = document.createElementNS('http://www.w3.org/2000/svg', tag);
  fill(created, attributes, children);
  return created;
}

/**
 * The element of the page with this id, which must be an instance of `type`.
 *
 * @template {Element} Type
 * @param {string} id
 * @param {new () => Type} type
 * @returns {Type}
 */
export function byId(id, type) {
  const found = document.getElementById(id);
  if (!(found instanceof type)) throw new Error(`The page has no ${type.name} "${id}".`);
  return found;
}

let copies = 0;

/**
 * A copy of the guide in the page's header. Its gradient gets an id of its own: a browser does not
 * draw with a gradient that is in a hidden part of the page.
 *
 * @param {string} className
 */
export function guide(className) {
  const copy = /** @type {SVGSVGElement} */ (document.querySelector('#guide svg')?.cloneNode(true));
  const id = `guide-${(copies += 1)}`;
  copy.querySelector('linearGradient')?.setAttribute('id', id);
  copy.querySelector('[fill^="url"]')?.setAttribute('fill', `url(#${id})`);
  copy.setAttribute('class', className);
  copy.setAttribute('aria-hidden', 'true');
  return copy;
}

/** Lets the browser paint and handle input, then continues. */
export function breathe() {
  return new Promise((resolve) => setTimeout(resolve));
}
