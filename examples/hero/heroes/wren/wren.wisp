; Wren, lamplighter of the lower quay.

@about
    title: "Wren"
    author: Ada of the lower quay
    made: 2026-03-04
    revision: 1.2
    moods: brave, kind, stubborn
    tint: 232, 148, 40         ; the colour of her lamp

@files
    commands: wren.beck
    animations: wren.flick
    states: ground.glow
    states: air.glow
    states: strikes.glow
    states: hurt.glow
    brain: brain.glow
    sounds: wren.peal
    sprites: wren.gleam
    states: showcase.glow      ; one of each thing that Ember warns of

@body
    life: 100
    weight: 48.5
    size: 34, 72
    eyes: 6.5, 63.25
    facing: right
    box: -14, -70, 14, 0
    grip: 18.0, -44.5, 26.0, -36.5
    strides: 0.8, 1.6, 2.4
