// What the scripts of the page find where they run, beside what browsers have.
declare function loadStudio(options: object): Promise<any>;
type Bytes = Uint8Array<ArrayBuffer>;
