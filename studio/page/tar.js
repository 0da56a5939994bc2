// Archives of files as tar has them (POSIX ustar), so that any computer unpacks what was
// taught and wgr build goes on with it.
'use strict';

const kBlock = 512;

function tarOf(files) {
  const blocks = [];
  const encoder = new TextEncoder();
  for (const [name, content] of Object.entries(files)) {
    const bytes = typeof content === 'string' ? encoder.encode(content) : content;
    const header = new Uint8Array(kBlock);
    const put = (text, at) => header.set(encoder.encode(text), at);
    const octal = (value, digits) => value.toString(8).padStart(digits, '0');
    put(name, 0);
    put('0000644\0' + '0000000\0'.repeat(2) + octal(bytes.length, 11) + '\0' +
        octal(0, 11) + '\0' + ' '.repeat(8) + '0', 100);
    put('ustar\0' + '00', 257);
    const sum = header.reduce((all, byte) => all + byte, 0);
    put(octal(sum, 6) + '\0 ', 148);
    blocks.push(header, bytes, new Uint8Array((kBlock - bytes.length % kBlock) % kBlock));
  }
  blocks.push(new Uint8Array(2 * kBlock));
  return new Blob(blocks, {type: 'application/x-tar'});
}

// The files' names and bytes; throws where it is no such archive.
function filesOfTar(bytes) {
  const decoder = new TextDecoder();
  const text = (at, size) => decoder.decode(bytes.subarray(at, at + size)).split('\0')[0];
  const files = {};
  for (let at = 0; at + kBlock <= bytes.length && bytes[at] !== 0;) {
    const size = parseInt(text(at + 124, 12), 8);
    if (text(at + 257, 5) !== 'ustar' || !(size >= 0) || at + kBlock + size > bytes.length) {
      throw new Error('The studio did not save this file.');
    }
    files[text(at, 100)] = bytes.slice(at + kBlock, at + kBlock + size);
    at += kBlock + Math.ceil(size / kBlock) * kBlock;
  }
  return files;
}
