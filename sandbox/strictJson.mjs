// JSON (RFC 8259) read as strictly as Quillo reads it. Node's own parser will not do: it takes lone surrogates and
// rounds integers before anybody has seen them.

const deepestNesting = 1023;
const spacePattern = /[ \t\n\r]*/y;
const stringPattern = /"[^"\\\u0000-\u001f]*(?:\\(?:["\\/bfnrt]|u[0-9a-fA-F]{4})[^"\\\u0000-\u001f]*)*"/y;
const scalarPattern = /(?:(true|false|null)|-?(?:0|[1-9]\d*)(?:\.\d+)?(?:[eE][-+]?\d+)?)(?![\w.+-])/y;

/** Why a body is refused, in a sentence that names the place. */
export class Refusal extends Error {}

/** A number as it was written. */
export class JsonNumber {
  constructor(text) {
    this.text = text;
  }

  /** The nearest double; infinite when there is none. */
  get double() {
    return Number(this.text);
  }

  /** The whole number that it is, as a BigInt; undefined when it was written with a fraction or an exponent. */
  get digits() {
    return /^-?\d+$/.test(this.text) ? BigInt(this.text) : undefined;
  }
}

/**
 * @param {Buffer} bytes  a whole body; one byte-order mark before it is skipped
 * @returns  objects as Map (of a repeated key the last counts), arrays as Array, numbers as JsonNumber
 * @throws {Refusal}
 */
export function parseJson(bytes) {
  let text;
  try {
    text = new TextDecoder("utf-8", { fatal: true }).decode(bytes);
  } catch {
    throw new Refusal("body: not UTF-8");
  }
  if (/^[ \t\n\r]*$/.test(text)) {
    throw new Refusal("body: empty");
  }
  return new Parser(text).document();
}

class Parser {
  #text;
  #at = 0;
  #depth = 0;

  constructor(text) {
    this.#text = text;
  }

  document() {
    const value = this.#value();
    this.#skipSpace();
    if (this.#at < this.#text.length) {
      this.#fail("something follows the value");
    }
    return value;
  }

  #value() {
    this.#skipSpace();
    switch (this.#text[this.#at]) {
      case "{":
        return this.#nested("}", new Map(), (members) => {
          const key = this.#string();
          this.#skipSpace();
          this.#expect(":");
          members.set(key, this.#value());
        });
      case "[":
        return this.#nested("]", [], (elements) => elements.push(this.#value()));
      case '"':
        return this.#string();
      default:
        return this.#scalar();
    }
  }

  #nested(end, container, readOne) {
    this.#at += 1;
    this.#skipSpace();
    if (this.#text[this.#at] === end) {
      this.#at += 1;
      return container;
    }
    this.#depth += 1;
    if (this.#depth > deepestNesting) {
      throw new Refusal("body: nested too deeply");
    }
    for (;;) {
      this.#skipSpace();
      readOne(container);
      this.#skipSpace();
      if (this.#text[this.#at] === end) {
        break;
      }
      this.#expect(",");
    }
    this.#at += 1;
    this.#depth -= 1;
    return container;
  }

  #string() {
    const [raw] = this.#take(stringPattern, "a text is malformed");
    const text = JSON.parse(raw);
    if (/\p{Surrogate}/u.test(text)) {
      this.#fail("a text holds half a surrogate pair");
    }
    return text;
  }

  #scalar() {
    const [scalar, word] = this.#take(scalarPattern, "a value is malformed");
    return word ? JSON.parse(word) : new JsonNumber(scalar);
  }

  #skipSpace() {
    this.#match(spacePattern);
  }

  #expect(character) {
    if (this.#text[this.#at] !== character) {
      this.#fail(`"${character}" is missing`);
    }
    this.#at += 1;
  }

  #take(pattern, problem) {
    return this.#match(pattern) ?? this.#fail(problem);
  }

  #match(pattern) {
    pattern.lastIndex = this.#at;
    const found = pattern.exec(this.#text);
    this.#at += found?.[0].length ?? 0;
    return found;
  }

  #fail(problem) {
    const before = this.#text.slice(0, this.#at).split("\n");
    throw new Refusal(
      `body: not valid JSON (${problem}, line ${before.length}, column ${before.at(-1).length + 1})`,
    );
  }
}
