// What independent decoders make of AMF, compared with the JSON that it was made of.
const assert = require('assert');
const { execFileSync } = require('child_process');

const load = (name) => {
  try {
    return require(name);
  } catch (error) {
    process.exit(77);
  }
};
const { decodeAMF, Memo } = load('amf-codec');
const amf3 = load('amf-js');

const encode = (json) =>
  execFileSync(process.argv[2], ['convert', '-p', 'json', '-o', 'amf'],
    { input: json, maxBuffer: 1 << 24 });

const json = JSON.stringify({
  scalars: [null, true, false, 0, -1, 127, 128, -32769, 2 ** 53, -(2 ** 53), 2.5, -1e-6],
  texts: ['', 'é€😀', '\n"', 'a'.repeat(65535), 'a'.repeat(65536), 'é'.repeat(40000)],
  dates: ['1969-12-31T23:59:59.999000Z', '2026-11-22T19:33:00.250000Z'],
  maps: [{}, [], [[[]], {}], { 2: 'x', '-5': null, '': { a: [] }, ['k'.repeat(65535)]: 1 }],
});
const isDate = (value) => typeof value === 'string' && /^\d{4}-\d\d-\d\dT/.test(value);
const expected = JSON.parse(json, (key, value) => (isDate(value) ? new Date(value) : value));
const bytes = encode(json);
const memo = new Memo(0);
assert.deepStrictEqual(decodeAMF(bytes, memo), expected);
assert.strictEqual(memo.position, bytes.length);

// Buffers: AMF3 behind a marker of AMF0.
for (const size of [0, 3, 63, 64, 8191, 8192, 1048575, 1048576]) {
  const data = Buffer.alloc(size, 'some bytes');
  const [marker, ...rest] = encode(`"b64:${data.toString('base64')}"`);
  assert.strictEqual(marker, 0x11);
  const decoder = new amf3.Deserializer(Uint8Array.from(rest).buffer);
  assert(Buffer.from(decoder.deserialize()).equals(data), `${size}`);
  assert.strictEqual(decoder.pos, rest.length);
}
