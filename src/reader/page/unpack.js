/**
 * Reading packed data. PageWriter.h describes the format.
 */

/**
 * @param {string} base64
 * @returns {Uint8Array<ArrayBuffer>}
 */
function decoded(base64) {
  const binary = atob(base64);
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < bytes.length; i += 1) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

/**
 * The bytes of a text that is base64 of raw deflate (RFC 1951).
 *
 * @param {string} base64
 * @returns {Promise<Uint8Array>}
 */
export async function inflated(base64) {
  const inflate = new DecompressionStream('deflate-raw');
  const writer = inflate.writable.getWriter(); // twice as quick as the stream of a Blob
  try {
    const [bytes] = await Promise.all([
      new Response(inflate.readable).arrayBuffer(),
      writer.write(decoded(base64)),
      writer.close(),
    ]);
    return new Uint8Array(bytes);
  } catch {
    throw new Error('Packed data cannot be read.'); // the browser's own reasons say less
  }
}

/** Reads variable-length integers (LEB128) one after the other. */
export class NumberReader {
  #bytes;
  #at = 0;

  /** @param {Uint8Array} bytes */
  constructor(bytes) {
    this.#bytes = bytes;
  }

  /** The bytes after the numbers read so far. */
  get rest() {
    return this.#bytes.subarray(this.#at);
  }

  /** An integer from 0 to 2^53. */
  next() {
    let value = 0;
    for (let factor = 1; ; factor *= 128) {
      if (this.#at >= this.#bytes.length) throw new RangeError('The packed data ends too early.');
      const byte = this.#bytes[this.#at];
      this.#at += 1;
      value += (byte & 127) * factor;
      if (byte < 128) return value;
    }
  }

  /** An integer of either sign: 0, -1, 1, -2, … are written as 0, 1, 2, 3, … */
  nextSigned() {
    const value = this.next();
    return value % 2 === 0 ? value / 2 : -(value + 1) / 2;
  }

  /**
   * A column of integers.
   *
   * @template {{ [index: number]: number, readonly length: number }} Column
   * @param {Column} column An array of the column's length, which is filled.
   */
  column(column) {
    for (let i = 0; i < column.length; i += 1) column[i] = this.next();
    return column;
  }

  /**
   * A column in which each integer is stored as its difference from the one before.
   *
   * @param {Float64Array} column
   */
  differences(column) {
    let value = 0;
    for (let i = 0; i < column.length; i += 1) {
      value += this.nextSigned();
      column[i] = value;
    }
    return column;
  }
}
