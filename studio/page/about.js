// What the page is, and whether the library computes here what it should.
'use strict';

const kChecking = 'Checking …';

// wgr selfcheck, in this browser.
async function selfCheck() {
  if ($('#selfcheck-said').textContent === kChecking) return;
  $('#selfcheck-said').textContent = kChecking;
  try {
    const {answer} = await engine.ask({do: 'selfcheck'});
    const first = answer.differences[0];
    $('#selfcheck-said').textContent = `${answer.streams} streams, ${answer.recognitions} ` +
        `recognitions: ${answer.differing} differ` + (first ? `, the first: ${first.what}` : '');
  } catch (error) {
    $('#selfcheck-said').textContent = error.message;
  }
}

function setUpAbout() {
  $('#about-open').addEventListener('click', async () => {
    $('#about').showModal();
    await engine.ready;
    $('#about-version').textContent = engine.version;
  });
  $('#selfcheck').addEventListener('click', selfCheck);
}
