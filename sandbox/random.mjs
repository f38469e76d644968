// Numbers that look random and never change: everything the sandbox makes up is a function of a seed.

/** A well-mixed 32-bit hash of two 32-bit integers: random access, where a stream would have to be walked. */
export function hash32(seed, index) {
  let value = Math.imul(seed ^ 0x9e3779b9, 0x85ebca6b) ^ Math.imul(index + 0x632be5ab, 0xc2b2ae35);
  value = Math.imul(value ^ (value >>> 16), 0x21f0aaad);
  value = Math.imul(value ^ (value >>> 15), 0x735a2d97);
  return (value ^ (value >>> 15)) >>> 0;
}

/** A stream of numbers in [0, 1), the same for the same seed. */
export function stream(seed) {
  let index = 0;
  return () => hash32(seed, index++) / 2 ** 32;
}

/** The 37-character id of the line `index` of the series `seed`, as long as an aggregator's. */
export function transactionId(seed, index) {
  let id = "";
  for (let part = 0; part < 6; part++) {
    id += hash32(seed + part * 7919, index)
      .toString(36)
      .padStart(7, "0");
  }
  return id.slice(0, 37);
}
